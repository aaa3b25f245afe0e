#ifndef SERVICES_CERTMGR_FINDINGS_H
#define SERVICES_CERTMGR_FINDINGS_H

#include <openssl/x509.h>

#include "services/certmgr/Warnings.h"

// The warning for one X509_V_ERR_* that verification reports about `certificate`
// (NULL when OpenSSL names none) at `depth`, 0 being the leaf. Never 0 for an
// error: what has no better name is NO_TRUSTED, so that nothing fails open.
// Must not throw: it is called from inside OpenSSL.
Warnings findingOf(int error, X509* certificate, int depth) noexcept;

// What RFC 5280 demands of a CA certificate that is no anchor, and OpenSSL lets
// pass: basicConstraints present and critical, and keyUsage present.
Warnings findInCaCertificate(X509* certificate) noexcept;

// NO_TRUSTED when an extension of the certificate cannot be decoded.
Warnings findInExtensions(X509* certificate) noexcept;

#endif
