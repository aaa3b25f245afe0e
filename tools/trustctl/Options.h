#ifndef TOOLS_TRUSTCTL_OPTIONS_H
#define TOOLS_TRUSTCTL_OPTIONS_H

#include <string>

#include <CLI/CLI.hpp>

#include "tools/trustctl/CommandError.h"

// Small things that commands need to read their options.

[[noreturn]] inline void refuse(const std::string& text) {
  throw CommandError(ExitStatus::wrongUse, text);
}

// An empty value, as of a variable that is not set, must not pass for an option left out.
inline CLI::Option* refuseEmpty(CLI::Option* option) {
  return option->check(
      [](const std::string& value) {
        return value.empty() ? "the value is empty; give one or leave the option out" : "";
      },
      "");
}

#endif
