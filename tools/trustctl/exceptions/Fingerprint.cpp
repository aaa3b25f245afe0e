#include "tools/trustctl/exceptions/Fingerprint.h"

namespace {

constexpr std::size_t digits = 64;

}  // namespace

std::optional<std::string> parseFingerprint(std::string_view typed) {
  std::string hex;
  for (const char c : typed) {
    if (c >= 'A' && c <= 'F') {
      hex += static_cast<char>(c - 'A' + 'a');
    } else if ((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f')) {
      hex += c;
    } else if (c != ':' && c != ' ') {
      return std::nullopt;
    }
  }
  return hex.size() == digits ? std::optional(hex) : std::nullopt;
}
