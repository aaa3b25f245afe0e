#include "tests/support/FutureClock.h"

#include "tests/support/ClockShift.h"

FutureClock::FutureClock(std::int64_t secondsSince1970) : shift_(CLOCK_SHIFT_VARIABLE) {
  const std::int64_t ahead = secondsSince1970 - unshiftedSeconds();
  shift_.set(std::to_string(ahead));
  preloaded_.prepend(CLOCK_SHIFT_LIBRARY);
  sanitizerOptions_.prepend("verify_asan_link_order=0");
  shiftClock(ahead);
}

FutureClock::~FutureClock() {
  shiftClock(0);
}
