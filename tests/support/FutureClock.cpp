#include "tests/support/FutureClock.h"

#include <stdlib.h>

#include "tests/support/ClockShift.h"

FutureClock::FutureClock(std::int64_t secondsSince1970) {
  const char* options = getenv("ASAN_OPTIONS");
  sanitizerOptions_ = options != nullptr ? options : "";
  const std::int64_t ahead = secondsSince1970 - unshiftedSeconds();
  setenv(CLOCK_SHIFT_VARIABLE, std::to_string(ahead).c_str(), 1);
  setenv("LD_PRELOAD", CLOCK_SHIFT_LIBRARY, 1);
  setenv("ASAN_OPTIONS", (sanitizerOptions_ + ":verify_asan_link_order=0").c_str(), 1);
  shiftClock(ahead);
}

FutureClock::~FutureClock() {
  shiftClock(0);
  unsetenv(CLOCK_SHIFT_VARIABLE);
  unsetenv("LD_PRELOAD");
  setenv("ASAN_OPTIONS", sanitizerOptions_.c_str(), 1);
}
