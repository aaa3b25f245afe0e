#ifndef TRUSTLIB_UTIL_PPS_TIMEOUT_EXCEPTION_H
#define TRUSTLIB_UTIL_PPS_TIMEOUT_EXCEPTION_H

#include "trustlib/util/TrustManagerException.h"

// A platform service did not answer within the time allowed. Catch it before
// TrustManagerException to tell it apart.
class TRUSTLIB_EXPORT PpsTimeoutException : public TrustManagerException {
 public:
  // Formats the message as printf does. The format must not be NULL.
  explicit PpsTimeoutException(const char* format, ...) TRUSTLIB_THROWS(TrustManagerException)
      TRUSTLIB_PRINTF_LIKE(2, 3);

  PpsTimeoutException(const PpsTimeoutException&) = default;
  PpsTimeoutException& operator=(const PpsTimeoutException&) = default;
  ~PpsTimeoutException() noexcept override;
};

#endif
