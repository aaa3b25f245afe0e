#include "services/dialog/model/DialogLines.h"

#include <algorithm>
#include <utility>

#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"

namespace {

// Longer than any honest name; a face shows that much in a few lines.
constexpr std::size_t kColumns = 600;
constexpr std::size_t kHexGroup = 4;

}  // namespace

DialogLine sentence(std::string words, DialogTone tone) {
  return {"", std::move(words), tone, false};
}

DialogLine field(std::string label, std::string words, DialogTone tone) {
  return {std::move(label), std::move(words), tone, false};
}

DialogLine quoted(std::string label, std::string_view bytes, DialogTone tone) {
  return quotedEscaped(std::move(label), escapeText(bytes), tone);
}

DialogLine quotedEscaped(std::string label, std::string_view escaped, DialogTone tone) {
  if (escaped.empty()) return {std::move(label), "(empty)", tone, false};
  return {std::move(label), fitLines(escaped, kColumns, 1).front(), tone, true};
}

std::string groupedHex(std::string_view hex) {
  std::string out;
  for (std::size_t i = 0; i < hex.size(); ++i) {
    if (i > 0 && i % kHexGroup == 0) out += ' ';
    const char digit = hex[i];
    out += digit >= 'a' && digit <= 'f' ? "ABCDEF"[digit - 'a'] : digit;
  }
  return out;
}

std::string timeWords(const std::optional<std::int64_t>& time) {
  return time ? formatTime(*time) : "(not a time)";
}

DialogTone gravestTone(const std::vector<DialogLine>& lines) {
  DialogTone gravest = DialogTone::plain;
  for (const DialogLine& line : lines) gravest = std::max(gravest, line.tone);
  return gravest;
}

std::string certificateNumber(std::size_t index) {
  return "certificate " + std::to_string(index + 1);
}
