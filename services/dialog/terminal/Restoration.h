#ifndef SERVICES_DIALOG_TERMINAL_RESTORATION_H
#define SERVICES_DIALOG_TERMINAL_RESTORATION_H

#include <termios.h>

#include <string>

// How to leave a terminal that is being drawn on, at any moment.
struct Restoration {
  int fd = -1;  // of an open file description that nobody else has: it stops blocking
  termios settings{};
  std::string undo;  // what to write
};

// From now on SIGTERM, SIGINT, SIGHUP and SIGALRM end the process with status 1 and without a
// word, whatever it inherited; they restore what stands to be restored, even while the process
// hangs in a write to a terminal that takes nothing more.
void exitOnSignals();

// What stands to be restored; null for nothing. It is borrowed, and must stay as it is until
// another one is named.
void restoreOnSignals(const Restoration* restoration);

#endif
