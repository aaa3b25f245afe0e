#ifndef TESTS_SERVICES_DIALOG_TERMINAL_PSEUDOTERMINAL_H
#define TESTS_SERVICES_DIALOG_TERMINAL_PSEUDOTERMINAL_H

#include <termios.h>

#include <string>

#include "platform/objects/ControlSocket.h"

// A terminal that the test plays: it reads what is drawn and types what is read. Nobody's
// controlling terminal.
class PseudoTerminal {
 public:
  // Throws std::runtime_error when there is none to be had.
  PseudoTerminal(unsigned short rows, unsigned short columns);

  const std::string& path() const { return path_; }
  int master() const { return master_.get(); }
  termios settings() const;
  void resize(unsigned short rows, unsigned short columns) const;
  void type(const std::string& keys) const;
  // As a user with Ctrl-S: whoever writes to it waits.
  void stopOutput() const;
  void hangUp() { master_ = OwnedFd(); }

 private:
  OwnedFd master_;
  OwnedFd slave_;  // held open, so that it stays as its last user left it
  std::string path_;
};

// What of two settings must be equal for a shell to notice no difference.
bool operator==(const termios& left, const termios& right);

#endif
