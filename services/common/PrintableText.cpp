#include "services/common/PrintableText.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include <fmt/format.h>

namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// Sorted. What would reorder, hide, stack or pass for something else on a screen.
constexpr Range unfit[] = {
    {0x0080, 0x00A0},    // C1 controls, no-break space
    {0x00AD, 0x00AD},    // soft hyphen
    {0x0300, 0x036F},    // combining marks draw over their neighbours
    {0x061C, 0x061C},    // Arabic letter mark
    {0x115F, 0x1160},    // Hangul fillers
    {0x1680, 0x1680},    // Ogham space
    {0x17B4, 0x17B5},    // invisible Khmer vowels
    {0x180B, 0x180F},    // Mongolian selectors and vowel separator
    {0x1AB0, 0x1AFF},    // combining marks
    {0x1DC0, 0x1DFF},    // combining marks
    {0x2000, 0x200F},    // spaces, zero-width, direction marks
    {0x2028, 0x202F},    // separators, bidirectional overrides, narrow space
    {0x205F, 0x206F},    // space, invisible operators, isolates, deprecated formats
    {0x20D0, 0x20FF},    // combining marks for symbols
    {0x2800, 0x2800},    // blank braille
    {0x3000, 0x3000},    // ideographic space
    {0x3164, 0x3164},    // Hangul filler
    {0xE000, 0xF8FF},    // private use
    {0xFDD0, 0xFDEF},    // no characters
    {0xFE00, 0xFE0F},    // variation selectors
    {0xFE20, 0xFE2F},    // combining half marks
    {0xFEFF, 0xFEFF},    // zero-width no-break space
    {0xFFA0, 0xFFA0},    // halfwidth Hangul filler
    {0xFFF0, 0xFFFF},    // specials; the replacement character too, it hides what was there
    {0x1BCA0, 0x1BCA3},  // shorthand format controls
    {0x1D165, 0x1D182},  // combining and invisible musical signs
    {0xE0000, 0x10FFFF}  // tags, selectors, private use
};

// Sorted. Two columns on a terminal.
constexpr Range wide[] = {{0x1100, 0x115E}, {0x2E80, 0xA4CF},   {0xAC00, 0xD7A3},
                          {0xF900, 0xFAFF}, {0xFE30, 0xFE6F},   {0xFF01, 0xFF60},
                          {0xFFE0, 0xFFE6}, {0x1F000, 0x1FAFF}, {0x20000, 0x3FFFD}};

template <std::size_t count>
bool contains(const Range (&ranges)[count], char32_t c) {
  const auto* found =
      std::lower_bound(std::begin(ranges), std::end(ranges), c,
                       [](const Range& range, char32_t value) { return range.last < value; });
  return found != std::end(ranges) && found->first <= c;
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
  return contains(wide, decodeFront(unit).code) ? 2 : 1;
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
    if (contains(unfit, character.code)) {
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
