#include "services/common/TimeText.h"

#include <time.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstddef>

#include <fmt/format.h>

namespace {

constexpr std::int64_t minute = 60;
constexpr std::int64_t hour = 60 * minute;
constexpr std::int64_t day = 24 * hour;
constexpr std::int64_t year = 365 * day;

// Takes exactly `digits` decimal digits from the front.
std::optional<int> takeNumber(std::string_view* text, std::size_t digits) {
  if (text->size() < digits) {
    return {};
  }
  int value = 0;
  for (std::size_t i = 0; i < digits; ++i) {
    const char c = (*text)[i];
    if (c < '0' || c > '9') {
      return {};
    }
    value = value * 10 + (c - '0');
  }
  text->remove_prefix(digits);
  return value;
}

bool take(std::string_view* text, std::string_view anyOf) {
  if (text->empty() || anyOf.find(text->front()) == std::string_view::npos) {
    return false;
  }
  text->remove_prefix(1);
  return true;
}

bool takeFraction(std::string_view* text) {
  if (!take(text, ".")) {
    return true;
  }
  const std::size_t digits = std::min(text->find_first_not_of("0123456789"), text->size());
  text->remove_prefix(digits);
  return digits > 0;
}

// "Z" or "+02:00"; the seconds by which the written time is ahead of UTC.
std::optional<std::int64_t> takeOffset(std::string_view* text) {
  if (take(text, "Zz")) {
    return 0;
  }
  const bool behind = !text->empty() && text->front() == '-';
  if (!take(text, "+-")) {
    return {};
  }
  const auto hours = takeNumber(text, 2);
  const bool colon = take(text, ":");
  const auto minutes = takeNumber(text, 2);
  if (!hours || !colon || !minutes || *hours > 23 || *minutes > 59) {
    return {};
  }
  const std::int64_t ahead = *hours * hour + *minutes * minute;
  return behind ? -ahead : ahead;
}

std::optional<std::int64_t> parseCivil(std::string_view text) {
  const auto y = takeNumber(&text, 4);
  const bool dash1 = take(&text, "-");
  const auto m = takeNumber(&text, 2);
  const bool dash2 = take(&text, "-");
  const auto d = takeNumber(&text, 2);
  if (!y || !dash1 || !m || !dash2 || !d) {
    return {};
  }
  if (text.empty()) {
    return civilTime(*y, *m, *d, 0, 0, 0);
  }
  const bool separator = take(&text, "Tt ");
  const auto h = takeNumber(&text, 2);
  const bool colon1 = take(&text, ":");
  const auto min = takeNumber(&text, 2);
  const bool colon2 = take(&text, ":");
  const auto s = takeNumber(&text, 2);
  if (!separator || !h || !colon1 || !min || !colon2 || !s || !takeFraction(&text)) {
    return {};
  }
  const auto ahead = takeOffset(&text);
  const auto written = civilTime(*y, *m, *d, *h, *min, *s);
  if (!ahead || !written || !text.empty()) {
    return {};
  }
  return *written - *ahead;
}

std::optional<std::int64_t> parseSeconds(std::string_view digits) {
  std::int64_t value = 0;
  const char* end = digits.data() + digits.size();
  const auto result = std::from_chars(digits.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end) {
    return {};
  }
  return value;
}

std::string count(std::int64_t number, const char* unit) {
  return fmt::format("{} {}{}", number, unit, number == 1 ? "" : "s");
}

}  // namespace

std::optional<std::int64_t> parseTime(std::string_view text) {
  const auto moment =
      !text.empty() && text.front() == '@' ? parseSeconds(text.substr(1)) : parseCivil(text);
  static const std::int64_t first = *civilTime(1950, 1, 1, 0, 0, 0);
  static const std::int64_t last = *civilTime(9999, 12, 31, 23, 59, 59);
  if (!moment || *moment < first || *moment > last) {
    return {};
  }
  return moment;
}

std::optional<std::int64_t> civilTime(int year, int month, int day, int hour, int minute,
                                      int second) {
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok() || hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 ||
      second > 59) {
    return {};
  }
  const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
  return days * ::day + hour * ::hour + minute * ::minute + second;
}

std::string formatTime(std::int64_t moment) {
  const std::chrono::sys_seconds time{std::chrono::seconds(moment)};
  const auto days = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(days);
  const std::int64_t rest = (time - days).count();
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                     rest / hour, rest % hour / minute, rest % minute);
}

std::string formatSpan(std::int64_t seconds) {
  const std::int64_t size = seconds < 0 ? -seconds : seconds;
  if (size < 2 * minute) {
    return count(size, "second");
  }
  if (size < 2 * hour) {
    return count(size / minute, "minute");
  }
  if (size < 2 * day) {
    return count(size / hour, "hour");
  }
  if (size < 2 * year) {
    return count(size / day, "day");
  }
  return count(size / year, "year");
}

std::int64_t currentTime() {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec;
}
