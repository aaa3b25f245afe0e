#include "tools/trustctl/exceptions/RecordText.h"

#include <stdexcept>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <openssl/evp.h>
#include <rapidjson/encodings.h>
#include <rapidjson/memorystream.h>

#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"
#include "services/common/WarningTexts.h"
#include "tools/trustctl/exceptions/SubjectReader.h"

std::string domainWords(const std::optional<std::string>& domain) {
  return domain ? escapeText(*domain) : "(no domain)";
}

std::string warningWords(unsigned long long warnings) {
  std::list<std::string> words = namesOfWarnings(warnings);
  for (const WarningText* text : textsOf(warnings)) {
    warnings &= ~static_cast<unsigned long long>(text->flag);
  }
  if (warnings != 0) {
    words.push_back(fmt::format("0x{:x}", warnings));
  }
  return words.empty() ? "none" : fmt::format("{}", fmt::join(words, ", "));
}

bool isValidUtf8(const std::string& text) {
  rapidjson::MemoryStream bytes(text.data(), text.size());
  unsigned character = 0;
  while (bytes.Tell() < text.size()) {
    if (!rapidjson::UTF8<>::Decode(bytes, &character)) {
      return false;
    }
  }
  return true;
}

std::string momentText(const std::optional<std::int64_t>& moment) {
  static const std::int64_t first = *civilTime(0, 1, 1, 0, 0, 0);
  static const std::int64_t last = *civilTime(9999, 12, 31, 23, 59, 59);
  return moment && *moment >= first && *moment <= last ? formatTime(*moment) : std::string();
}

bool isExpired(const ExceptionRecord& record, std::int64_t now) {
  return record.expires && *record.expires <= now;
}

LeafSummary summarizeLeaf(const ExceptionRecord& record) {
  const CertificateDer& der = record.chain.front();
  return {readSubject(der), sha256Of(der)};
}

std::string sha256Of(const CertificateDer& der) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned length = 0;
  if (EVP_Digest(der.data(), der.size(), digest, &length, EVP_sha256(), nullptr) != 1) {
    throw std::runtime_error("cannot compute a SHA-256 fingerprint; check this machine's OpenSSL");
  }
  return fmt::format("{:02x}", fmt::join(digest, digest + length, ""));
}

std::string recordLine(const std::string& fileName, const ExceptionRecord& record) {
  return fmt::format("{}, in spite of {} ({})",
                     record.domain ? printableText(*record.domain, 80) : "(no domain)",
                     warningWords(record.warnings), printableText(fileName));
}
