#ifndef SERVICES_COMMON_TIMETEXT_H
#define SERVICES_COMMON_TIMETEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Moments are seconds since 1970-01-01T00:00:00Z, 64 bit on every target.

// Reads a date (2026-01-31, its first second), an RFC 3339 time (2026-01-31T12:00:00Z, or
// with an offset; fractions are dropped) or seconds (@1700000000). Nothing for any other
// text, and for moments outside the years 1950 to 9999 that certificates can name.
std::optional<std::int64_t> parseTime(std::string_view text);

// The moment of a civil time in UTC; nothing when there is no such day or time.
std::optional<std::int64_t> civilTime(int year, int month, int day, int hour, int minute,
                                      int second);

// "2026-01-31T12:00:00Z". The moment must lie in the years 0 to 9999.
std::string formatTime(std::int64_t moment);

// The size of a span in its largest fitting unit: "1 second", "3 hours", "12 days",
// "2 years". A negative span counts as its positive.
std::string formatSpan(std::int64_t seconds);

// The clock's moment. The one place that asks for it: std::chrono's clock of a 32-bit C++ runtime
// may have times of 32 bits, which end in 2038.
std::int64_t currentTime();

#endif
