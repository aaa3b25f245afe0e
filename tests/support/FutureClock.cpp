#include "tests/support/FutureClock.h"

#include <stdlib.h>

#include "tests/support/ClockShift.h"

namespace {

constexpr const char* kPreload = "LD_PRELOAD";
constexpr const char* kSanitizerOptions = "ASAN_OPTIONS";

std::optional<std::string> valueOf(const char* variable) {
  const char* value = getenv(variable);
  return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

// Puts one more before what is in the variable.
void prepend(const char* variable, const std::string& one,
             const std::optional<std::string>& others) {
  setenv(variable, others ? (one + ":" + *others).c_str() : one.c_str(), 1);
}

void restore(const char* variable, const std::optional<std::string>& value) {
  if (value) {
    setenv(variable, value->c_str(), 1);
  } else {
    unsetenv(variable);
  }
}

}  // namespace

FutureClock::FutureClock(std::int64_t secondsSince1970)
    : preloaded_(valueOf(kPreload)), sanitizerOptions_(valueOf(kSanitizerOptions)) {
  const std::int64_t ahead = secondsSince1970 - unshiftedSeconds();
  setenv(CLOCK_SHIFT_VARIABLE, std::to_string(ahead).c_str(), 1);
  prepend(kPreload, CLOCK_SHIFT_LIBRARY, preloaded_);
  prepend(kSanitizerOptions, "verify_asan_link_order=0", sanitizerOptions_);
  shiftClock(ahead);
}

FutureClock::~FutureClock() {
  shiftClock(0);
  unsetenv(CLOCK_SHIFT_VARIABLE);
  restore(kPreload, preloaded_);
  restore(kSanitizerOptions, sanitizerOptions_);
}
