#include "services/certmgr/path/DerTime.h"

#include <string_view>

#include "services/common/TimeText.h"

std::optional<std::int64_t> secondsOf(const DerReader::Element& time) {
  std::string_view text = time.content;
  const std::size_t yearDigits = time.tag == DerReader::kUtcTime ? 2 : 4;
  if (time.tag != DerReader::kUtcTime && time.tag != DerReader::kGeneralizedTime) return {};
  if (text.size() != yearDigits + 11 || text.back() != 'Z') return {};
  text.remove_suffix(1);
  if (text.find_first_not_of("0123456789") != std::string_view::npos) return {};
  const auto take = [&text](std::size_t digits) {
    int number = 0;
    for (const char digit : text.substr(0, digits)) number = number * 10 + (digit - '0');
    text.remove_prefix(digits);
    return number;
  };
  int year = take(yearDigits);
  constexpr int kPivot = 50;
  if (yearDigits == 2) year += year < kPivot ? 2000 : 1900;
  const int month = take(2);
  const int day = take(2);
  const int hour = take(2);
  const int minute = take(2);
  const int second = take(2);
  return civilTime(year, month, day, hour, minute, second);
}
