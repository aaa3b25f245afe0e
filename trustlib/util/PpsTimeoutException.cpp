#include "trustlib/util/PpsTimeoutException.h"

#include <cstdarg>

#include "trustlib/util/Utilities.h"

PpsTimeoutException::PpsTimeoutException(const char* format, ...)
    TRUSTLIB_THROWS(TrustManagerException) {
  std::string text;
  va_list arguments;
  va_start(arguments, format);
  if (!Utilities::vaStringPrintf(format, arguments, &text)) {
    text = format;
  }
  va_end(arguments);
  setMessage(text.c_str());
}

PpsTimeoutException::~PpsTimeoutException() noexcept = default;
