// Keeps C++ exceptions inside the C interface.
#ifndef PLATFORM_PPSCODEC_GUARD_H
#define PLATFORM_PPSCODEC_GUARD_H

#include "platform/ppscodec/ppscodec.h"

namespace ppscodec {

// Runs `operation` and returns its result code. The codec throws nothing of its
// own, so whatever arrives here is a container that could not grow.
template <typename Operation>
int guarded(Operation operation) noexcept {
  try {
    return operation();
  } catch (...) {
    return PPS_NO_MEMORY;
  }
}

}  // namespace ppscodec

#endif
