#ifndef TESTS_SUPPORT_KEPTVARIABLE_H
#define TESTS_SUPPORT_KEPTVARIABLE_H

#include <stdlib.h>

#include <optional>
#include <string>

// Puts an environment variable back, at the end, as it was at the beginning: set or not. For one
// thread. The name must outlive it.
class KeptVariable {
 public:
  explicit KeptVariable(const char* name) : name_(name) {
    if (const char* value = getenv(name); value != nullptr) before_ = value;
  }
  ~KeptVariable() { set(before_); }
  KeptVariable(const KeptVariable&) = delete;
  KeptVariable& operator=(const KeptVariable&) = delete;

  void set(const std::optional<std::string>& value) const {
    if (value) {
      setenv(name_, value->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }
  // Puts one more before what was in it.
  void prepend(const std::string& one) const { set(before_ ? one + ":" + *before_ : one); }

 private:
  const char* const name_;
  std::optional<std::string> before_;
};

#endif
