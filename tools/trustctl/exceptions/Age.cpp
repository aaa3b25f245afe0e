#include "tools/trustctl/exceptions/Age.h"

#include <charconv>
#include <system_error>

namespace {

constexpr std::int64_t hour = 3600;
constexpr std::int64_t day = 24 * hour;
constexpr std::int64_t year = 365 * day;
constexpr std::int64_t longest = 10'000 * year;

std::int64_t unitSeconds(std::string_view unit) {
  return unit == "h" ? hour : unit == "d" ? day : unit == "w" ? 7 * day : unit == "y" ? year : 0;
}

}  // namespace

std::optional<std::int64_t> parseAge(std::string_view text) {
  std::uint32_t number = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc()) {
    return {};
  }
  const std::int64_t unit = unitSeconds({result.ptr, static_cast<std::size_t>(end - result.ptr)});
  if (unit == 0 || number > longest / unit) {
    return {};
  }
  return number * unit;
}
