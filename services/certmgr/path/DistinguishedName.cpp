#include "services/certmgr/path/DistinguishedName.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "services/certmgr/path/DerReader.h"
#include "services/common/PrintableText.h"

namespace {

constexpr unsigned char kUtf8String = 0x0c;
constexpr unsigned char kPrintableString = 0x13;
constexpr unsigned char kTeletexString = 0x14;
constexpr unsigned char kIa5String = 0x16;
constexpr unsigned char kVisibleString = 0x1a;
constexpr unsigned char kUniversalString = 0x1c;
constexpr unsigned char kBmpString = 0x1e;

void appendUtf8(std::string& out, std::uint32_t point) {
  const auto tail = [&](unsigned shift) {
    out += static_cast<char>(0x80U | (point >> shift & 0x3fU));
  };
  if (point < 0x80) {
    out += static_cast<char>(point);
  } else if (point < 0x800) {
    out += static_cast<char>(0xc0U | point >> 6);
    tail(0);
  } else if (point < 0x10000) {
    out += static_cast<char>(0xe0U | point >> 12);
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xf0U | point >> 18);
    tail(12);
    tail(6);
    tail(0);
  }
}

// Text of characters of `width` bytes each, the first byte being the highest.
std::optional<std::string> fromWide(std::string_view bytes, std::size_t width) {
  if (bytes.size() % width != 0) return {};
  std::string out;
  for (std::size_t i = 0; i < bytes.size(); i += width) {
    std::uint32_t point = 0;
    for (std::size_t j = 0; j < width; ++j) {
      point = point << 8 | static_cast<unsigned char>(bytes[i + j]);
    }
    const bool isSurrogate = point >= 0xd800 && point < 0xe000;
    if (isSurrogate || point > 0x10ffff) return {};
    appendUtf8(out, point);
  }
  return out;
}

// Nothing when the kind of string is not one of text.
std::optional<std::string> utf8Of(const DerReader::Element& value) {
  switch (value.tag) {
    case kUtf8String:
      return std::string(value.content);
    case kPrintableString:
    case kIa5String:
    case kVisibleString:
    case kTeletexString:
      // Bytes that are not ASCII should not be there, and are always taken for Latin-1.
      return fromWide(value.content, 1);
    case kBmpString:
      return fromWide(value.content, 2);
    case kUniversalString:
      return fromWide(value.content, 4);
    default:
      return {};
  }
}

// Without spaces at the ends, runs of them as one, letters of ASCII in lower case.
std::string folded(std::string_view text) {
  std::string out;
  bool gap = false;
  for (const char c : text) {
    if (c == ' ' || (c >= '\t' && c <= '\r')) {
      gap = !out.empty();
      continue;
    }
    if (gap) out += ' ';
    gap = false;
    out += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return out;
}

void appendSized(std::string& out, std::string_view bytes) {
  const auto size = static_cast<std::uint32_t>(bytes.size());
  for (const unsigned shift : {24U, 16U, 8U, 0U}) out += static_cast<char>(size >> shift & 0xffU);
  out += bytes;
}

struct Attribute {
  std::string_view type;
  DerReader::Element value;
};

Attribute takeAttribute(DerReader& reader) {
  DerReader parts(reader.content(DerReader::kSequence));
  Attribute attribute;
  attribute.type = parts.content(DerReader::kOid);
  attribute.value = parts.take();
  parts.expectEnd();
  return attribute;
}

std::string keyOf(const Attribute& attribute) {
  std::string key;
  appendSized(key, attribute.type);
  const std::optional<std::string> text = utf8Of(attribute.value);
  appendSized(key, text ? folded(*text) : std::string(attribute.value.whole));
  key += text ? 't' : 'b';  // text and other values never look alike
  return key;
}

std::string keyOfRelativeName(std::string_view content) {
  std::vector<std::string> attributes;
  for (DerReader set(content); !set.atEnd();) attributes.push_back(keyOf(takeAttribute(set)));
  std::sort(attributes.begin(), attributes.end());
  std::string whole;
  for (const std::string& attribute : attributes) appendSized(whole, attribute);
  std::string key;
  appendSized(key, whole);
  return key;
}

template <class Take>
void forEachAttribute(std::string_view der, Take take) {
  if (der.empty()) return;
  for (DerReader names(derContent(der, DerReader::kSequence)); !names.atEnd();) {
    for (DerReader set(names.content(DerReader::kSet)); !set.atEnd();) take(takeAttribute(set));
  }
}

std::string labelOf(std::string_view type) {
  struct Label {
    std::string_view type;
    const char* text;
  };
  static constexpr Label kLabels[] = {
      {"\x55\x04\x03", "CN"}, {"\x55\x04\x06", "C"}, {"\x55\x04\x07", "L"},
      {"\x55\x04\x08", "ST"}, {"\x55\x04\x0a", "O"}, {"\x55\x04\x0b", "OU"},
  };
  for (const Label& label : kLabels) {
    if (label.type == type) return label.text;
  }
  return oidText(type);
}

}  // namespace

void DistinguishedName::expect(std::string_view der) {
  constexpr int kMostAttributes = 256;
  int attributes = 0;
  for (DerReader names(derContent(der, DerReader::kSequence)); !names.atEnd();) {
    DerReader set(names.content(DerReader::kSet));
    if (set.atEnd()) throw DerError("a relative name is empty");
    for (; !set.atEnd(); ++attributes) takeAttribute(set);
  }
  if (attributes > kMostAttributes) throw DerError("a name has too many attributes");
}

DistinguishedName::DistinguishedName(std::string_view der) : der_(der) {
  expect(der_);
  for (DerReader names(derContent(der_, DerReader::kSequence)); !names.atEnd();) {
    key_ += keyOfRelativeName(names.content(DerReader::kSet));
    ends_.push_back(key_.size());
  }
}

bool DistinguishedName::isWithin(const DistinguishedName& base) const {
  // Each relative name carries its size, so equal bytes up to there are equal names.
  return key_.starts_with(base.key_);
}

std::vector<std::string> DistinguishedName::values(std::string_view oid) const {
  std::vector<std::string> found;
  forEachAttribute(der_, [&](const Attribute& attribute) {
    if (attribute.type != oid) return;
    found.push_back(utf8Of(attribute.value).value_or(std::string(attribute.value.content)));
  });
  return found;
}

std::string DistinguishedName::text() const {
  if (isEmpty()) return "(empty name)";
  constexpr std::size_t kMostBytes = 1024;
  std::string text;
  bool isCut = false;
  forEachAttribute(der_, [&](const Attribute& attribute) {
    if (isCut) return;
    if (!text.empty()) text += ", ";
    text += labelOf(attribute.type);
    text += '=';
    std::string value = utf8Of(attribute.value).value_or(std::string(attribute.value.content));
    isCut = text.size() + value.size() > kMostBytes;
    if (isCut) value.resize(std::min(value.size(), kMostBytes));
    text += escapeText(value, ",");
    if (isCut) text += "...";
  });
  return text;
}
