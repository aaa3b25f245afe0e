#ifndef TRUSTLIB_UTIL_TRUST_MANAGER_EXCEPTION_H
#define TRUSTLIB_UTIL_TRUST_MANAGER_EXCEPTION_H

#include <exception>
#include <string>

#include "trustlib/Export.h"
#include "trustlib/Throws.h"

#if defined(__GNUC__)
#define TRUSTLIB_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#else
#define TRUSTLIB_PRINTF_LIKE(text, first)
#endif

// The library's error. Thrown by value, caught by reference; the message says which class
// and function speaks, what failed, on what, and the system's reason. Nothing leaves the
// exception's own operations: a list of types cannot name a class inside itself.
class TRUSTLIB_EXPORT TrustManagerException : public std::exception {
 public:
  // An empty message.
  TrustManagerException() TRUSTLIB_THROWS();

  // Formats the message as printf does. A NULL format gives the message "NULL".
  explicit TrustManagerException(const char* format, ...) TRUSTLIB_THROWS()
      TRUSTLIB_PRINTF_LIKE(2, 3);

  TrustManagerException(const TrustManagerException&) = default;
  TrustManagerException& operator=(const TrustManagerException&) = default;
  ~TrustManagerException() noexcept override;

  // Replaces the message by `text` as it stands.
  void setMessage(const char* text) TRUSTLIB_THROWS();

  // The message, which lives as long as the exception. Compare it as a C string.
  const char* what() const noexcept override;

 private:
  std::string message;  // a formatted one carries its terminating NUL as a character
};

#endif
