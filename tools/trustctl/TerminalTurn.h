#ifndef TOOLS_TRUSTCTL_TERMINALTURN_H
#define TOOLS_TRUSTCTL_TERMINALTURN_H

#include "tools/trustctl/FileDescriptor.h"

// The right to ask on the terminal of the standard descriptors. Each run has a dialog service of
// its own: two at once would draw over each other, share what is typed, and take each other's
// terminal mode for the shell's.
class TerminalTurn {
 public:
  // Waits until no other run asks there, and keeps further ones waiting as long as this object
  // lives. Returns at once where there is no terminal. Throws Interrupted on a signal.
  void await();

 private:
  FileDescriptor terminal_;  // locked
};

#endif
