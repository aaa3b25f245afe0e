#ifndef SERVICES_COMMON_CERTIFICATEVIEW_H
#define SERVICES_COMMON_CERTIFICATEVIEW_H

#include <cstdint>
#include <optional>
#include <string>

#include "services/common/CertificateDer.h"

// What is shown of one certificate. Every text is escaped and safe to print.
struct CertificateView {
  std::string subject;                    // "CN=a.example, O=A"; empty for an empty name
  std::string issuer;                     // likewise
  std::string serial;                     // lower-case hex in whole bytes, "-" first when negative
  std::optional<std::int64_t> notBefore;  // seconds since 1970; nothing where it is no time
  std::optional<std::int64_t> notAfter;   // likewise
  std::string sha256;                     // of the DER bytes, lower-case hex
};

// Reads a certificate for showing. Throws std::runtime_error when the bytes are none.
CertificateView viewCertificate(const CertificateDer& der);

#endif
