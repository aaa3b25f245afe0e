#ifndef SERVICES_DIALOG_TERMINAL_CAPABILITIES_H
#define SERVICES_DIALOG_TERMINAL_CAPABILITIES_H

#include <string>

#include "services/dialog/terminal/TerminalSize.h"

// What the database of terminals knows of the one that TERM names.
struct Capabilities {
  bool canMoveCursor = false;
  TerminalSize usualSize;  // for one that does not tell its own
  std::string undo;        // brings back colours, cursor and the screen from before a dialog
};

// Throws std::runtime_error where TERM is unset or names nothing in the database. `fd` is the
// terminal; nothing is written to it. Not for several threads at once.
Capabilities readCapabilities(int fd);

#endif
