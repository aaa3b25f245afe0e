#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_AGE_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_AGE_H

#include <cstdint>
#include <optional>
#include <string_view>

// Reads "12h", "90d", "2w" or "1y" (a year of 365 days) as seconds. Nothing for any other text
// and for more than ten thousand years. "m" could be minutes or months, and is neither.
std::optional<std::int64_t> parseAge(std::string_view text);

#endif
