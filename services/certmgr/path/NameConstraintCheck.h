#ifndef SERVICES_CERTMGR_PATH_NAMECONSTRAINTCHECK_H
#define SERVICES_CERTMGR_PATH_NAMECONSTRAINTCHECK_H

#include <vector>

#include "services/certmgr/path/Budget.h"
#include "services/certmgr/path/Finding.h"
#include "services/certmgr/path/ParsedCertificate.h"

// Holds the names of each member of a path, leaf first, whose last member is the anchor, against
// the name constraints of all that stand above it. An issuer that issued itself is exempt.
//
// Names are the alternative names; the subject, unless it is empty; the subject's mailboxes where
// there is no alternative name of that kind; and, of the leaf, common names that look like hosts
// where it has no DNS name. DNS names of addresses count as these, too. A malformed name is
// outside of all that is permitted and inside of all that is excluded.
//
// Appends to `findings`, at most one for each member and reason: the first in the order of the
// names. When the budget ends before the last name, that is one: constraintNotUnderstood.
void checkNameConstraints(const std::vector<CertificatePtr>& path, Budget& budget,
                          std::vector<Finding>& findings);

#endif
