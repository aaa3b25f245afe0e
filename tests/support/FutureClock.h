#ifndef TESTS_SUPPORT_FUTURECLOCK_H
#define TESTS_SUPPORT_FUTURECLOCK_H

#include <cstdint>

#include "tests/support/KeptVariable.h"

// Puts the clock of the calling process, and of those that it starts from now on, to another
// moment; it goes on from there. As on a machine with that date, functions of a 32-bit C library
// with times of 32 bits fail past 2038. Only for one thread, and not for waits that end at a time
// of day: the kernel's clock stays where it is. The program must link trustlib::future_clock.
class FutureClock {
 public:
  explicit FutureClock(std::int64_t secondsSince1970);
  ~FutureClock();
  FutureClock(const FutureClock&) = delete;
  FutureClock& operator=(const FutureClock&) = delete;

 private:
  const KeptVariable shift_;
  const KeptVariable preloaded_{"LD_PRELOAD"};
  const KeptVariable sanitizerOptions_{"ASAN_OPTIONS"};
};

#endif
