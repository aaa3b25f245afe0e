#ifndef SERVICES_COMMON_CERTIFICATEVIEW_H
#define SERVICES_COMMON_CERTIFICATEVIEW_H

#include <cstdint>
#include <optional>
#include <string>

#include "services/common/CertificateDer.h"
#include "services/common/CertificateNames.h"
#include "services/common/OpenSslOwners.h"

// What is shown of one certificate. Every text but `names` is escaped and safe
// to print.
struct CertificateView {
  std::string subject;                    // "CN=a.example, O=A"; empty for an empty name
  std::string issuer;                     // likewise
  std::string serial;                     // lower-case hex in whole bytes, "-" first when negative
  std::optional<std::int64_t> notBefore;  // seconds since 1970; nothing where it is no time
  std::optional<std::int64_t> notAfter;   // likewise
  std::string sha256;                     // of the DER bytes, lower-case hex
  CertificateNames names = {};            // not escaped
  std::string key = {};                   // "RSA, 2048 bits"
  bool selfSigned = false;                // names itself as issuer and verifies with its own key
};

// Reads a certificate for showing. Throws std::runtime_error when the bytes are none.
CertificateView viewCertificate(const CertificateDer& der);

// A name as `subject` and `issuer` show it.
std::string viewName(const X509_NAME* name);

// The moment; nothing where there is no time, or none that can be read.
std::optional<std::int64_t> viewTime(const ASN1_TIME* time);

// The certificate that stands at the front of the bytes; null when there is none.
X509Ptr parseCertificate(const CertificateDer& der);

// Whether the certificate's signature is one by that other certificate's key.
bool isSignedBy(X509* certificate, const X509* issuer);

#endif
