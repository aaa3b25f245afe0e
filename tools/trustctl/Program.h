#ifndef TOOLS_TRUSTCTL_PROGRAM_H
#define TOOLS_TRUSTCTL_PROGRAM_H

#include <CLI/CLI.hpp>

#include "tools/trustctl/Command.h"

// The whole command line: all commands with their options and help texts. `app` and `chosen` go
// together; what reads the command line sets `chosen`.
struct Program {
  Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  CLI::App app;
  CommandAction chosen;
};

#endif
