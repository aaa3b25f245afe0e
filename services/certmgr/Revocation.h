#ifndef SERVICES_CERTMGR_REVOCATION_H
#define SERVICES_CERTMGR_REVOCATION_H

#include <ctime>

#include <openssl/x509.h>

// True when `list` proves that `certificate`, issued by `issuer`, is revoked at
// `now`: the list is the issuer's, signed with its key, in force, and names the
// certificate. A list that is missing, stale, forged, indirect, or has a critical
// extension that is not understood proves nothing.
//
// Not left to OpenSSL's own check: when that collects all findings, it goes on after
// a bad signature or an expired list and believes its entries.
bool isProvenRevoked(X509* certificate, X509* issuer, X509_CRL* list, std::time_t now);

#endif
