#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_EXCEPTIONRECORD_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_EXCEPTIONRECORD_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "services/common/CertificateDer.h"

// One decision of a user, and what may be noted beside it. Nothing in it is escaped. The
// certificates are bytes: nobody has looked whether they are any.
struct ExceptionRecord {
  std::optional<std::string> domain;
  unsigned long long warnings = 0;      // CertificateWarnings
  std::vector<CertificateDer> chain;    // leaf first, at least one
  std::optional<std::int64_t> created;  // seconds since 1970, likewise
  std::optional<std::int64_t> expires;  // what this tool cleans up by; the library knows no expiry
  std::optional<std::string> reason;
};

// Reads the bytes of a file as the library does. A note that is not as it should be is passed
// over, since the library does not look at it either. Throws std::runtime_error with the reason
// where the library would refuse the file.
ExceptionRecord parseRecord(const std::string& bytes);

// The bytes of a file for the record: what the library would write, with the notes as further
// members. Throws std::runtime_error when it cannot be written: an empty chain, an empty
// certificate, a text with a NUL in it, a time outside the years 0 to 9999. Other bytes that are
// no UTF-8 are written as they are, as the library does.
std::string writeRecord(const ExceptionRecord& record);

// The hash that names the record's file: 40 lower-case hexadecimal digits.
std::string hashOf(const ExceptionRecord& record);

// Whether both are one decision for the library: warnings, domain and chain; notes do not count.
bool isSameDecision(const ExceptionRecord& left, const ExceptionRecord& right);

#endif
