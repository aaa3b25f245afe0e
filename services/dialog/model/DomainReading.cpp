#include "services/dialog/model/DomainReading.h"

#include <arpa/inet.h>

#include <algorithm>
#include <memory>
#include <optional>

#include <unicode/uchar.h>
#include <unicode/uidna.h>
#include <unicode/utf8.h>

#include "services/common/PrintableText.h"
#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/LookAlikes.h"

namespace {

constexpr std::size_t kLongestName = 253;  // of the domain name system

struct IdnaClose {
  void operator()(UIDNA* idna) const { uidna_close(idna); }
};
using IdnaPtr = std::unique_ptr<UIDNA, IdnaClose>;

// Errors that make the letters of a coded name worthless; an odd form of the whole does not.
constexpr std::uint32_t kWorthless = UIDNA_ERROR_PUNYCODE | UIDNA_ERROR_INVALID_ACE_LABEL |
                                     UIDNA_ERROR_LABEL_HAS_DOT | UIDNA_ERROR_DISALLOWED |
                                     UIDNA_ERROR_LEADING_COMBINING_MARK | UIDNA_ERROR_BIDI |
                                     UIDNA_ERROR_CONTEXTJ;

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isAddress(std::string_view domain) {
  if (domain.size() > 2 && domain.front() == '[' && domain.back() == ']') {
    domain = domain.substr(1, domain.size() - 2);
  }
  if (domain.find('\0') != std::string_view::npos) return false;
  const std::string text(domain);
  unsigned char bytes[sizeof(in6_addr)];
  return inet_pton(AF_INET, text.c_str(), bytes) == 1 ||
         inet_pton(AF_INET6, text.c_str(), bytes) == 1;
}

std::vector<std::string> labelsOf(std::string_view name) {
  std::vector<std::string> labels(1);
  for (const char c : name) {
    if (c == '.') {
      labels.emplace_back();
    } else {
      labels.back() += c;
    }
  }
  return labels;
}

bool hasCodedLabel(std::string_view name) {
  const auto labels = labelsOf(name);
  return std::any_of(labels.begin(), labels.end(), [](const std::string& label) {
    return label.size() >= 4 && lower(label[0]) == 'x' && lower(label[1]) == 'n' &&
           label[2] == '-' && label[3] == '-';
  });
}

using Conversion = decltype(&uidna_nameToUnicodeUTF8);

// The other form of a name; nothing when there is no such form.
std::optional<std::string> convert(Conversion conversion, std::string_view name) {
  UErrorCode status = U_ZERO_ERROR;
  const IdnaPtr idna(uidna_openUTS46(UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ |
                                         UIDNA_NONTRANSITIONAL_TO_ASCII |
                                         UIDNA_NONTRANSITIONAL_TO_UNICODE,
                                     &status));
  char out[8 * kLongestName];
  UIDNAInfo info = UIDNA_INFO_INITIALIZER;
  const std::int32_t length =
      conversion(idna.get(), name.data(), static_cast<std::int32_t>(name.size()), out,
                 static_cast<std::int32_t>(sizeof out), &info, &status);
  if (U_FAILURE(status) || (info.errors & kWorthless) != 0) return {};
  return std::string(out, static_cast<std::size_t>(length));
}

bool hasRightToLeft(std::string_view name) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(name.data());
  const auto length = static_cast<std::int32_t>(name.size());
  for (std::int32_t at = 0; at < length;) {
    UChar32 c = 0;
    U8_NEXT_OR_FFFD(bytes, at, length, c);
    const UCharDirection direction = u_charDirection(c);
    if (direction == U_RIGHT_TO_LEFT || direction == U_RIGHT_TO_LEFT_ARABIC) return true;
  }
  return false;
}

void findLookAlikes(const std::string& name, DomainReading* reading) {
  const LookAlikes lookAlikes;
  std::string twin;
  bool twinned = false;
  for (const std::string& label : labelsOf(name)) {
    const std::string likeness = lookAlikes.twinOf(label);
    if (!isAscii(label)) {
      reading->mixedScripts |= lookAlikes.mixesScripts(label);
      reading->hiding |= lookAlikes.hides(label);
    }
    twinned |= !likeness.empty();
    twin += (twin.empty() ? "" : ".") + (likeness.empty() ? label : likeness);
  }
  if (!twinned) return;
  std::transform(twin.begin(), twin.end(), twin.begin(), lower);
  reading->twin = twin;
}

}  // namespace

DomainReading readDomain(std::string_view domain) {
  DomainReading reading;
  reading.address = isAddress(domain);
  reading.tooLong = domain.size() > kLongestName;
  reading.hiding = !reading.tooLong && escapeText(domain) != domain;
  if (reading.address || reading.tooLong) return reading;
  if (!isAscii(domain)) {
    reading.coded = convert(uidna_nameToASCII_UTF8, domain).value_or("");
    reading.undecodable = reading.coded.empty();
  } else if (hasCodedLabel(domain)) {
    reading.letters = convert(uidna_nameToUnicodeUTF8, domain).value_or("");
    reading.undecodable = reading.letters.empty();
  } else {
    return reading;
  }
  const std::string name = reading.letters.empty() ? std::string(domain) : reading.letters;
  reading.rightToLeft = hasRightToLeft(name);
  findLookAlikes(name, &reading);
  return reading;
}

std::vector<DialogLine> describeReading(const DomainReading& reading) {
  std::vector<DialogLine> lines;
  if (!reading.letters.empty()) lines.push_back(quoted("stands for", reading.letters));
  if (!reading.coded.empty()) lines.push_back(quoted("coded", reading.coded));
  if (!reading.twin.empty()) {
    lines.push_back(
        sentence("Some of its letters only look like others: it can be mistaken for a name such "
                 "as the one below, and is not that one.",
                 DialogTone::danger));
    lines.push_back(quoted("looks like", reading.twin, DialogTone::danger));
  }
  if (reading.mixedScripts) {
    lines.push_back(sentence("It mixes letters of different scripts, as names made to deceive do.",
                             DialogTone::danger));
  }
  if (reading.hiding) {
    lines.push_back(
        sentence("It holds characters that cannot be seen or that draw elsewhere; "
                 "they are shown as \\x or \\u and a number.",
                 DialogTone::danger));
  }
  if (reading.undecodable) {
    lines.push_back(sentence("Its special letters do not make a proper name.", DialogTone::doubt));
  }
  if (reading.rightToLeft) {
    lines.push_back(
        sentence("It holds letters that are written from right to left; its parts may "
                 "be drawn in another order.",
                 DialogTone::doubt));
  }
  if (reading.tooLong) {
    lines.push_back(sentence("It is longer than any real domain name.", DialogTone::doubt));
  }
  if (reading.address) {
    lines.push_back(sentence("This is a numeric address, not a name.", DialogTone::doubt));
  }
  return lines;
}
