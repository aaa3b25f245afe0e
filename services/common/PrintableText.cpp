#include "services/common/PrintableText.h"

#include <algorithm>
#include <cstdint>

#include <fmt/format.h>
#include <unicode/uchar.h>

namespace {

// What would reorder, hide, stack or pass for something else on a screen: controls, formats,
// combining marks, spaces that are not the plain one, private and unassigned characters.
bool isUnfit(char32_t character) {
  constexpr std::uint32_t kUnfit = U_GC_CC_MASK | U_GC_CF_MASK | U_GC_CS_MASK | U_GC_CO_MASK |
                                   U_GC_CN_MASK | U_GC_ZS_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK |
                                   U_GC_MN_MASK | U_GC_ME_MASK;
  const auto code = static_cast<UChar32>(character);
  if (code == ' ') return false;
  return (U_GET_GC_MASK(code) & kUnfit) != 0 ||
         u_hasBinaryProperty(code, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) != 0 ||
         code == 0x2800 ||                    // blank braille
         (code >= 0xFFF0 && code <= 0xFFFF);  // specials: the replacement character hides, too
}

// Two columns on a terminal.
bool isWide(char32_t character) {
  const int width = u_getIntPropertyValue(static_cast<UChar32>(character), UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH;
}

std::uint8_t byteAt(std::string_view text, std::size_t index) {
  return static_cast<std::uint8_t>(text[index]);
}

struct Character {
  char32_t code;
  std::size_t length;  // 0: no valid UTF-8 starts here
};

// The character at the front of a text that is not empty. Strict: no overlong form, no
// surrogate, nothing beyond U+10FFFF.
Character decodeFront(std::string_view text) {
  const std::uint8_t lead = byteAt(text, 0);
  if (lead < 0x80) {
    return {lead, 1};
  }
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
    return {0, 0};
  }
  char32_t code = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const std::uint8_t next = byteAt(text, i);
    if ((next & 0xC0U) != 0x80U) {
      return {0, 0};
    }
    code = (code << 6U) | (next & 0x3FU);
  }
  constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (code < smallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
    return {0, 0};
  }
  return {code, length};
}

bool isBareSpace(std::string_view bytes, std::size_t index) {
  return index == 0 || index + 1 == bytes.size() || bytes[index - 1] == ' ';
}

// The length of the escape or character at the front of an escaped text.
std::size_t unitLength(std::string_view text) {
  if (text.front() != '\\') {
    return std::max<std::size_t>(decodeFront(text).length, 1);
  }
  std::size_t length = 2;  // "\\"
  if (text.size() > 1 && text[1] == 'x') {
    length = 4;
  } else if (text.size() > 1 && text[1] == 'u') {
    length = text.find('}') + 1;
  }
  return std::min(length, text.size());
}

std::size_t unitColumns(std::string_view unit) {
  if (unit.front() == '\\') {
    return unit.size();
  }
  return isWide(decodeFront(unit).code) ? 2 : 1;
}

// The longest front part of whole units within that many columns.
std::string_view takeColumns(std::string_view text, std::size_t columns) {
  std::size_t end = 0;
  std::size_t used = 0;
  while (end < text.size()) {
    const std::string_view unit = text.substr(end, unitLength(text.substr(end)));
    used += unitColumns(unit);
    if (used > columns) {
      break;
    }
    end += unit.size();
  }
  return text.substr(0, end);
}

}  // namespace

std::string escapeText(std::string_view bytes, std::string_view special) {
  std::string out;
  out.reserve(bytes.size());
  std::size_t at = 0;
  while (at < bytes.size()) {
    const Character character = decodeFront(bytes.substr(at));
    const std::uint8_t byte = byteAt(bytes, at);
    if (character.length == 0 || character.code < 0x20 || character.code == 0x7F ||
        (byte == ' ' && isBareSpace(bytes, at)) ||
        (byte < 0x80 && special.find(bytes[at]) != std::string_view::npos)) {
      out += fmt::format("\\x{:02x}", byte);
      ++at;
      continue;
    }
    if (isUnfit(character.code)) {
      out += fmt::format("\\u{{{:x}}}", static_cast<std::uint32_t>(character.code));
    } else if (byte == '\\') {
      out += "\\\\";
    } else {
      out += bytes.substr(at, character.length);
    }
    at += character.length;
  }
  return out;
}

std::vector<std::string> fitLines(std::string_view escaped, std::size_t columns,
                                  std::size_t maxLines) {
  std::vector<std::string> lines;
  while (lines.size() + 1 < maxLines) {
    const std::string_view line = takeColumns(escaped, columns);
    if (line.size() == escaped.size()) {
      break;
    }
    lines.emplace_back(line);
    escaped.remove_prefix(line.size());
  }
  std::string_view last = takeColumns(escaped, columns);
  if (last.size() == escaped.size()) {
    lines.emplace_back(last);
    return lines;
  }
  // The mark's own length hardly changes with the count: one more byte cut is no harm.
  const std::string widest = fmt::format("\\[{} more bytes]", escaped.size());
  last = takeColumns(escaped, columns - widest.size());
  lines.push_back(fmt::format("{}\\[{} more bytes]", last, escaped.size() - last.size()));
  return lines;
}

std::string printableText(std::string_view bytes, std::size_t columns) {
  return fitLines(escapeText(bytes), columns, 1).front();
}
