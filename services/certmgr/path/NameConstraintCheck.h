#ifndef SERVICES_CERTMGR_PATH_NAMECONSTRAINTCHECK_H
#define SERVICES_CERTMGR_PATH_NAMECONSTRAINTCHECK_H

#include <vector>

#include "services/certmgr/path/Budget.h"
#include "services/certmgr/path/Finding.h"
#include "services/certmgr/path/ParsedCertificate.h"

// Holds the names of each member of a path, leaf first, whose last member is the anchor, against
// the name constraints of all that stand above it. Appends to `findings`. When the budget ends
// before the last name, that is one: constraintNotUnderstood.
void checkNameConstraints(const std::vector<CertificatePtr>& path, Budget& budget,
                          std::vector<Finding>& findings);

#endif
