#include "services/certmgr/VerificationTime.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <regex>
#include <stdexcept>

namespace {

[[noreturn]] void fail(const std::string& text) {
  throw std::runtime_error("not a time: \"" + text + "\" (2026-02-02T00:00:01Z or @SECONDS)");
}

int number(const std::ssub_match& digits) {
  return std::stoi(digits.str());
}

std::int64_t parseSeconds(const std::string& text) {
  std::int64_t seconds = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data() + 1, end, seconds);
  if (result.ec != std::errc() || result.ptr != end) fail(text);
  return seconds;
}

std::int64_t parseCalendar(const std::string& text) {
  static const std::regex kForm(
      R"((\d{4})-(\d\d)-(\d\d)[Tt ](\d\d):(\d\d):(\d\d)(?:\.\d+)?(?:[Zz]|([+-])(\d\d):(\d\d)))");
  std::smatch part;
  if (!std::regex_match(text, part, kForm)) fail(text);
  const std::chrono::year_month_day date{std::chrono::year(number(part[1])),
                                         std::chrono::month(static_cast<unsigned>(number(part[2]))),
                                         std::chrono::day(static_cast<unsigned>(number(part[3])))};
  const int hour = number(part[4]);
  const int minute = number(part[5]);
  const int second = number(part[6]);
  if (!date.ok() || hour > 23 || minute > 59 || second > 60) fail(text);
  std::int64_t offset = 0;
  if (part[7].matched) {
    if (number(part[8]) > 23 || number(part[9]) > 59) fail(text);
    offset = (number(part[8]) * 60 + number(part[9])) * 60;
    if (part[7].str() == "-") offset = -offset;
  }
  const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
  return days * 86400 + (hour * 60 + minute) * 60 + second - offset;
}

}  // namespace

std::time_t parseVerificationTime(const std::string& text) {
  const bool isSeconds = !text.empty() && text.front() == '@';
  const std::int64_t seconds = isSeconds ? parseSeconds(text) : parseCalendar(text);
  const auto time = static_cast<std::time_t>(seconds);
  if (static_cast<std::int64_t>(time) != seconds) {
    throw std::runtime_error("this machine cannot hold the time " + text);
  }
  return time;
}
