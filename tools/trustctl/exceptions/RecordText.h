#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_RECORDTEXT_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_RECORDTEXT_H

#include <cstdint>
#include <optional>
#include <string>

#include "tools/trustctl/exceptions/ExceptionRecord.h"

// A record in words. All that is returned is escaped.

// The domain, or that there is none.
std::string domainWords(const std::optional<std::string>& domain);

// "NO_TRUSTED, CERT_EXPIRY"; bits without a name as "0x8000"; "none".
std::string warningWords(unsigned long long warnings);

// Whether the text can stand in JSON: the library takes and writes any bytes.
bool isValidUtf8(const std::string& text);

// RFC 3339 in UTC; empty for nothing and for a moment outside the years 0 to 9999.
std::string momentText(const std::optional<std::int64_t>& moment);

// Whether the record's "expires" has come.
bool isExpired(const ExceptionRecord& record, std::int64_t now);

// What is said of the server's own certificate where there is little room.
struct LeafSummary {
  std::optional<std::string> subject;  // nothing where it is no certificate
  std::string sha256;
};
LeafSummary summarizeLeaf(const ExceptionRecord& record);

// What stands in place of the subject of bytes that are no certificate.
constexpr const char* noCertificate = "(not a certificate)";

// The fingerprint of a certificate, or of bytes that are none: 64 lower-case hexadecimal digits.
std::string sha256Of(const CertificateDer& der);

// One line for messages: "DOMAIN, in spite of WARNINGS (FILE)".
std::string recordLine(const std::string& fileName, const ExceptionRecord& record);

#endif
