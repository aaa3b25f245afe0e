#ifndef TESTS_SUPPORT_CLOCKSHIFT_H
#define TESTS_SUPPORT_CLOCKSHIFT_H

#include <stdint.h>

// A library that stands before the C library and shifts the clock. Linked, it starts unshifted;
// preloaded, by as many seconds as the variable says.
#define CLOCK_SHIFT_VARIABLE "TEST_CLOCK_SHIFT"

extern "C" void shiftClock(int64_t seconds);
extern "C" int64_t unshiftedSeconds();

#endif
