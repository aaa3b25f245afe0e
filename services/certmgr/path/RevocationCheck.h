#ifndef SERVICES_CERTMGR_PATH_REVOCATIONCHECK_H
#define SERVICES_CERTMGR_PATH_REVOCATIONCHECK_H

#include <vector>

#include "services/certmgr/path/Budget.h"
#include "services/certmgr/path/Finding.h"
#include "services/certmgr/path/Moment.h"
#include "services/certmgr/path/ParsedCertificate.h"
#include "services/certmgr/path/SignatureMemory.h"
#include "services/certmgr/path/TrustStore.h"

// Looks for proof that a member of a path, leaf first, is revoked. Only a list that is in force,
// that its issuer signed, and that is understood in full proves anything; one that is missing,
// stale, forged or odd adds nothing. `others` are the certificates that came along, among which
// the signer of a list may be. Appends to `findings`; when the budget ends, that is one: gaveUp.
//
// A list may be signed by whoever stands above the certificate on the path; by an anchor; and by
// one of `others` that the certificate's issuer signed, or whoever signed that one. All bear the
// name of the list's issuer, and their key usage, if any, lets them sign lists. The latter two
// have to be in their time. Which comes first among `others` only matters to the budget.
void checkRevocation(const std::vector<CertificatePtr>& path,
                     const std::vector<CertificatePtr>& others, const TrustStore& store,
                     Moment& moment, Budget& budget, SignatureMemory& signatures,
                     std::vector<Finding>& findings);

#endif
