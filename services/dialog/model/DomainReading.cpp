#include "services/dialog/model/DomainReading.h"

#include <arpa/inet.h>

#include <algorithm>
#include <memory>
#include <optional>

#include <unicode/uchar.h>
#include <unicode/uidna.h>
#include <unicode/uspoof.h>
#include <unicode/utf8.h>

#include "services/common/PrintableText.h"
#include "services/dialog/model/DialogLines.h"

namespace {

constexpr std::size_t kLongestName = 253;  // of the domain name system

struct IdnaClose {
  void operator()(UIDNA* idna) const { uidna_close(idna); }
};
struct SpoofClose {
  void operator()(USpoofChecker* checker) const { uspoof_close(checker); }
};
using IdnaPtr = std::unique_ptr<UIDNA, IdnaClose>;
using SpoofPtr = std::unique_ptr<USpoofChecker, SpoofClose>;

// Errors that make the letters of a coded name worthless; an odd form of the whole does not.
constexpr std::uint32_t kWorthless = UIDNA_ERROR_PUNYCODE | UIDNA_ERROR_INVALID_ACE_LABEL |
                                     UIDNA_ERROR_LABEL_HAS_DOT | UIDNA_ERROR_DISALLOWED |
                                     UIDNA_ERROR_LEADING_COMBINING_MARK | UIDNA_ERROR_BIDI |
                                     UIDNA_ERROR_CONTEXTJ;

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

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

// The next character of valid UTF-8; moves `at` behind it.
UChar32 takeCharacter(std::string_view text, std::int32_t* at) {
  UChar32 c = 0;
  // NOLINTNEXTLINE(bugprone-branch-clone): how the macro is made
  U8_NEXT_OR_FFFD(reinterpret_cast<const std::uint8_t*>(text.data()), *at,
                  static_cast<std::int32_t>(text.size()), c);
  return c;
}

bool hasRightToLeft(std::string_view name) {
  for (std::int32_t at = 0; at < static_cast<std::int32_t>(name.size());) {
    const UCharDirection direction = u_charDirection(takeCharacter(name, &at));
    if (direction == U_RIGHT_TO_LEFT || direction == U_RIGHT_TO_LEFT_ARABIC) return true;
  }
  return false;
}

// Checks labels for what a reader takes for something else.
class LookAlikes {
 public:
  LookAlikes() : checker_(uspoof_open(&status_)) {
    uspoof_setChecks(
        checker_.get(),
        USPOOF_RESTRICTION_LEVEL | USPOOF_MIXED_NUMBERS | USPOOF_INVISIBLE | USPOOF_HIDDEN_OVERLAY,
        &status_);
    // One script, or Latin beside the scripts of one East Asian language.
    uspoof_setRestrictionLevel(checker_.get(), USPOOF_HIGHLY_RESTRICTIVE);
  }

  // What uspoof reports of the label; nothing when it cannot tell.
  std::int32_t check(const std::string& label) {
    const std::int32_t found = uspoof_check2UTF8(
        checker_.get(), label.data(), static_cast<std::int32_t>(label.size()), nullptr, &status_);
    return U_FAILURE(status_) ? 0 : found;
  }

  // The ASCII label that it looks like; empty when it does not look like one. An ASCII
  // character stands for itself, so that "m" does not come out as its likeness "rn".
  std::string twinOf(const std::string& label) {
    std::string twin;
    for (std::int32_t at = 0; at < static_cast<std::int32_t>(label.size());) {
      const std::int32_t start = at;
      takeCharacter(label, &at);
      const std::string character =
          label.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(at - start));
      twin += isAscii(character) ? character : skeletonOf(character);
    }
    if (!isAscii(twin) || U_FAILURE(status_)) return {};
    std::transform(twin.begin(), twin.end(), twin.begin(), lower);
    return twin;
  }

 private:
  std::string skeletonOf(const std::string& character) {
    char skeleton[128];
    const std::int32_t length = uspoof_getSkeletonUTF8(
        checker_.get(), 0, character.data(), static_cast<std::int32_t>(character.size()), skeleton,
        static_cast<std::int32_t>(sizeof skeleton), &status_);
    if (U_FAILURE(status_)) return {};
    return {skeleton, static_cast<std::size_t>(length)};
  }

  UErrorCode status_ = U_ZERO_ERROR;
  SpoofPtr checker_;
};

void findLookAlikes(const std::string& name, DomainReading* reading) {
  LookAlikes lookAlikes;
  std::string twin;
  bool twinned = false;
  for (const std::string& label : labelsOf(name)) {
    std::string shown = label;
    if (!isAscii(label)) {
      const std::int32_t found = lookAlikes.check(label);
      reading->mixedScripts |= (found & (USPOOF_RESTRICTION_LEVEL | USPOOF_MIXED_NUMBERS)) != 0;
      reading->hiding |= (found & (USPOOF_INVISIBLE | USPOOF_HIDDEN_OVERLAY)) != 0;
      const std::string likeness = lookAlikes.twinOf(label);
      if (!likeness.empty()) {
        shown = likeness;
        twinned = true;
      }
    }
    twin += (twin.empty() ? "" : ".") + shown;
  }
  if (twinned) reading->twin = twin;
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
