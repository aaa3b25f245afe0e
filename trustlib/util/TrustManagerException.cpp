#include "trustlib/util/TrustManagerException.h"

#include <cstdarg>

#include "trustlib/util/Utilities.h"

TrustManagerException::TrustManagerException() TRUSTLIB_THROWS() {}

TrustManagerException::TrustManagerException(const char* format, ...) TRUSTLIB_THROWS() {
  if (format == nullptr) {
    message = "NULL";
    return;
  }
  va_list arguments;
  va_start(arguments, format);
  if (!Utilities::vaStringPrintf(format, arguments, &message)) {
    message = format;
  }
  va_end(arguments);
}

TrustManagerException::~TrustManagerException() noexcept = default;

void TrustManagerException::setMessage(const char* text) TRUSTLIB_THROWS() {
  message.erase();
  message.append(text);
}

const char* TrustManagerException::what() const noexcept {
  return message.c_str();
}
