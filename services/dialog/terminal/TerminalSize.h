#ifndef SERVICES_DIALOG_TERMINAL_TERMINALSIZE_H
#define SERVICES_DIALOG_TERMINAL_TERMINALSIZE_H

#include <cstddef>

struct TerminalSize {
  std::size_t rows = 0;
  std::size_t columns = 0;
  bool operator==(const TerminalSize&) const = default;
};

#endif
