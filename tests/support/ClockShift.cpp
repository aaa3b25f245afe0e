// The functions below stand for both forms that a 32-bit C library has of each: the build's
// choice of one would rename them.
#undef _FILE_OFFSET_BITS
#undef _TIME_BITS

#include "tests/support/ClockShift.h"

#include <errno.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#define STANDS_BEFORE extern "C" __attribute__((visibility("default")))

namespace {

// As the kernel has it on every target.
struct Time64 {
  int64_t seconds;
  int64_t nanoseconds;
};

int64_t shift = 0;

int read(clockid_t clock, Time64* time) {
#ifdef SYS_clock_gettime64
  const long result = syscall(SYS_clock_gettime64, clock, time);
#else
  const long result = syscall(SYS_clock_gettime, clock, time);
#endif
  if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
    time->seconds += shift;
  }
  return static_cast<int>(result);
}

// Stores what fits; otherwise as the C library does.
template <class Seconds>
bool store(int64_t from, Seconds* to) {
  *to = static_cast<Seconds>(from);
  if (*to == from) return true;
  errno = EOVERFLOW;
  return false;
}

template <class Seconds>
Seconds secondsNow(Seconds* out) {
  Time64 now = {};
  Seconds seconds = -1;
  if (read(CLOCK_REALTIME, &now) != 0 || !store(now.seconds, &seconds)) return -1;
  if (out != nullptr) *out = seconds;
  return seconds;
}

template <class Time>
int timeOf(clockid_t clock, Time* out) {
  Time64 now = {};
  const int result = read(clock, &now);
  if (result != 0) return result;
  out->tv_nsec = static_cast<decltype(out->tv_nsec)>(now.nanoseconds);
  return store(now.seconds, &out->tv_sec) ? 0 : -1;
}

template <class Time>
int timeOfDay(Time* out) {
  Time64 now = {};
  const int result = read(CLOCK_REALTIME, &now);
  if (result != 0) return result;
  out->tv_usec = static_cast<decltype(out->tv_usec)>(now.nanoseconds / 1000);
  return store(now.seconds, &out->tv_sec) ? 0 : -1;
}

__attribute__((constructor)) void readVariable() {
  const char* preloaded = getenv("LD_PRELOAD");
  const char* seconds = getenv(CLOCK_SHIFT_VARIABLE);
  if (preloaded != nullptr && seconds != nullptr) shift = strtoll(seconds, nullptr, 10);
}

}  // namespace

STANDS_BEFORE void shiftClock(int64_t seconds) {
  shift = seconds;
}

STANDS_BEFORE int64_t unshiftedSeconds() {
  Time64 now = {};
  read(CLOCK_REALTIME, &now);
  return now.seconds - shift;
}

STANDS_BEFORE time_t time(time_t* out) noexcept {
  return secondsNow(out);
}

STANDS_BEFORE int clock_gettime(clockid_t clock, timespec* out) noexcept {
  return timeOf(clock, out);
}

STANDS_BEFORE int gettimeofday(timeval* out, void* /*zone*/) noexcept {
  return timeOfDay(out);
}

#if __SIZEOF_LONG__ == 4
namespace {

struct LongTimespec {
  int64_t tv_sec;
  int32_t tv_nsec;
  int32_t unused;
};

struct LongTimeval {
  int64_t tv_sec;
  int64_t tv_usec;
};

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the C library's names
STANDS_BEFORE int64_t __time64(int64_t* out) {
  return secondsNow(out);
}

STANDS_BEFORE int __clock_gettime64(clockid_t clock, LongTimespec* out) {
  return timeOf(clock, out);
}

STANDS_BEFORE int __gettimeofday64(LongTimeval* out, void* /*zone*/) {
  return timeOfDay(out);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
#endif
