#include "tools/trustctl/exceptions/DocumentRecord.h"

#include <stdlib.h>

#include <charconv>
#include <list>
#include <memory>
#include <stdexcept>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"
#include "services/common/WarningTexts.h"
#include "tools/trustctl/Suggestion.h"
#include "tools/trustctl/WarningWords.h"
#include "tools/trustctl/exceptions/Fingerprint.h"
#include "tools/trustctl/exceptions/RecordText.h"
#include "trustlib/util/Utilities.h"

namespace {

template <typename Value>
const Value& required(const char* name, const std::optional<Value>& value) {
  if (!value) {
    throw std::runtime_error(fmt::format("it has no \"{}\"", name));
  }
  return *value;
}

// As the library writes it: a set with the top bit is a negative number.
unsigned long long parseWarnings(const std::string& text) {
  long long value = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end) {
    throw std::runtime_error(
        fmt::format("\"warnings\" is '{}' and not a number of 64 bits", printableText(text)));
  }
  return static_cast<unsigned long long>(value);
}

unsigned long long flagsOf(const std::vector<std::string>& names) {
  unsigned long long flags = 0;
  for (const std::string& name : names) {
    const WarningText* text = findWarningText(name);
    if (text == nullptr || name != warningName(*text)) {
      throw std::runtime_error(fmt::format("\"warning_names\" has '{}', which is no warning{}",
                                           printableText(name), didYouMean(name, warningNames())));
    }
    flags |= text->flag;
  }
  return flags;
}

// The number counts for the library, the names for who reads the document.
void requireAgreement(unsigned long long warnings, const std::vector<std::string>& names) {
  unsigned long long known = 0;
  for (const WarningText* text : textsOf(warnings)) {
    known |= text->flag;
  }
  if (flagsOf(names) != known) {
    throw std::runtime_error(
        fmt::format("\"warning_names\" and \"warnings\" are not the same: {} stands for {}",
                    static_cast<long long>(warnings), warningWords(warnings)));
  }
}

CertificateDer decodeBase64(std::string text) {
  unsigned char* bytes = nullptr;
  unsigned length = 0;
  if (Utilities::base64Decode(&text, &bytes, &length) != 0) {
    throw std::runtime_error("\"der\" is not base64");
  }
  struct Freer {
    void operator()(unsigned char* buffer) const { free(buffer); }
  };
  const std::unique_ptr<unsigned char, Freer> owner(bytes);
  return {bytes, bytes + length};
}

CertificateDer checkedCertificate(const DocumentRecord::Certificate& certificate) {
  CertificateDer der = decodeBase64(required("der", certificate.der));
  const auto claimed = parseFingerprint(required("sha256", certificate.sha256));
  if (claimed != sha256Of(der)) {
    throw std::runtime_error(
        fmt::format("\"sha256\" is not the fingerprint of \"der\", which is {}", sha256Of(der)));
  }
  return der;
}

std::vector<CertificateDer> checkedChain(const std::vector<DocumentRecord::Certificate>& chain) {
  if (chain.empty()) {
    throw std::runtime_error("its \"chain\" is empty");
  }
  std::vector<CertificateDer> ders;
  for (const DocumentRecord::Certificate& certificate : chain) {
    try {
      ders.push_back(checkedCertificate(certificate));
    } catch (const std::runtime_error& error) {
      throw std::runtime_error(
          fmt::format("certificate {} of its chain: {}", ders.size() + 1, error.what()));
    }
  }
  return ders;
}

std::optional<std::int64_t> checkedTime(const char* name, const std::optional<std::string>& text) {
  if (!text) {
    return std::nullopt;
  }
  const auto moment = parseTime(*text);
  if (!moment) {
    throw std::runtime_error(
        fmt::format("\"{}\" is '{}' and not a time such as "
                    "2026-01-31T12:00:00Z",
                    name, printableText(*text)));
  }
  return moment;
}

}  // namespace

ExceptionRecord checkedRecord(const DocumentRecord& read) {
  ExceptionRecord record;
  record.domain = read.domain;
  record.warnings = parseWarnings(required("warnings", read.warnings));
  requireAgreement(record.warnings, required("warning_names", read.warningNames));
  record.chain = checkedChain(required("chain", read.chain));
  record.created = checkedTime("created", read.created);
  record.expires = checkedTime("expires", read.expires);
  record.reason = read.reason;
  (void)writeRecord(record);  // what cannot be written must show before anything is
  return record;
}
