#include "services/certmgr/path/DerReader.h"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace {

unsigned byteAt(std::string_view bytes, std::size_t at) {
  if (at >= bytes.size()) throw DerError("an element ends too early");
  return static_cast<unsigned char>(bytes[at]);
}

// Reads a length that starts at `at`, and moves `at` behind it.
std::size_t takeLength(std::string_view bytes, std::size_t& at) {
  const unsigned first = byteAt(bytes, at++);
  if (first < 0x80) return first;
  const unsigned count = first & 0x7fU;
  // Four bytes hold every length that a file can have here; 0 would be an indefinite one.
  if (count == 0 || count > 4) throw DerError("a length is not in DER form");
  std::size_t length = 0;
  for (unsigned i = 0; i < count; ++i) length = length << 8 | byteAt(bytes, at++);
  const bool isShortest = length >= 0x80 && length >> (8 * (count - 1)) != 0;
  if (!isShortest) throw DerError("a length is not in DER form");
  return length;
}

// Whether every arc of an OBJECT IDENTIFIER has an end and no superfluous bytes before it.
bool isOid(std::string_view content) {
  bool starts = true;
  for (const char c : content) {
    const auto byte = static_cast<unsigned char>(c);
    if (starts && byte == 0x80) return false;
    starts = byte < 0x80;
  }
  return starts && !content.empty();
}

}  // namespace

DerReader::Element DerReader::take() {
  Element element;
  element.tag = static_cast<unsigned char>(byteAt(left_, 0));
  constexpr unsigned char kLongTag = 0x1f;
  if ((element.tag & kLongTag) == kLongTag) throw DerError("a tag has more than one byte");
  std::size_t at = 1;
  const std::size_t length = takeLength(left_, at);
  if (length > left_.size() - at) throw DerError("an element ends too early");
  element.content = left_.substr(at, length);
  if (element.tag == kOid && !isOid(element.content)) {
    throw DerError("an OBJECT IDENTIFIER is not in DER form");
  }
  element.whole = left_.substr(0, at + length);
  left_.remove_prefix(at + length);
  return element;
}

DerReader::Element DerReader::take(unsigned char tag) {
  if (!nextIs(tag)) throw DerError("an element is missing or of another kind");
  return take();
}

void DerReader::expectEnd() const {
  if (!atEnd()) throw DerError("there are bytes after its end");
}

std::string_view derContent(std::string_view bytes, unsigned char tag) {
  DerReader reader(bytes);
  const std::string_view content = reader.content(tag);
  reader.expectEnd();
  return content;
}

bool derBoolean(std::string_view content) {
  if (content.size() != 1) throw DerError("a BOOLEAN is not in DER form");
  const auto byte = static_cast<unsigned char>(content.front());
  if (byte != 0 && byte != 0xff) throw DerError("a BOOLEAN is not in DER form");
  return byte != 0;
}

std::string_view derBits(std::string_view content) {
  if (content.empty()) throw DerError("a BIT STRING is empty");
  const auto unused = static_cast<unsigned char>(content.front());
  content.remove_prefix(1);
  if (unused == 0) return content;
  if (unused > 7 || content.empty()) throw DerError("a BIT STRING has odd bits");
  const unsigned odd = static_cast<unsigned char>(content.back()) & ((1U << unused) - 1);
  if (odd != 0) throw DerError("a BIT STRING has odd bits");
  return content;
}

std::string_view derWholeBytes(std::string_view content) {
  if (content.empty() || content.front() != 0) throw DerError("a BIT STRING has odd bits");
  return content.substr(1);
}

unsigned derNumber(std::string_view content, unsigned most) {
  if (content.empty()) throw DerError("an INTEGER is empty");
  const auto first = static_cast<unsigned char>(content.front());
  if (first >= 0x80) throw DerError("an INTEGER is negative");
  if (content.size() > 1 && first == 0) {
    if (static_cast<unsigned char>(content[1]) < 0x80) throw DerError("an INTEGER is too long");
    content.remove_prefix(1);
  }
  if (content.size() > 4) return most;
  std::uint64_t value = 0;
  for (const char byte : content) value = value << 8 | static_cast<unsigned char>(byte);
  return value > most ? most : static_cast<unsigned>(value);
}

void expectNoParameters(DerReader& algorithm) {
  const bool isThere = !algorithm.atEnd();
  if (isThere && !algorithm.content(DerReader::kNull).empty()) throw DerError("odd NULL");
  algorithm.expectEnd();
}

std::string oidText(std::string_view content) {
  constexpr std::size_t kMostBytes = 64;
  if (content.size() > kMostBytes) return "unreadable";
  std::string text;
  std::uint64_t arc = 0;
  bool complete = false;
  for (const char c : content) {
    const auto byte = static_cast<unsigned char>(c);
    if (arc > std::numeric_limits<std::uint64_t>::max() >> 7) return "unreadable";
    arc = arc << 7 | (byte & 0x7fU);
    complete = (byte & 0x80U) == 0;
    if (!complete) continue;
    if (text.empty()) {
      const std::uint64_t root = arc < 80 ? arc / 40 : 2;
      text = std::to_string(root);
      arc -= root * 40;
    }
    text.append(".").append(std::to_string(arc));
    arc = 0;
  }
  return complete ? text : "unreadable";
}
