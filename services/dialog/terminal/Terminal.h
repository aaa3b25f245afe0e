#ifndef SERVICES_DIALOG_TERMINAL_TERMINAL_H
#define SERVICES_DIALOG_TERMINAL_TERMINAL_H

#include <string>

#include "platform/objects/ControlSocket.h"
#include "services/dialog/terminal/Restoration.h"
#include "services/dialog/terminal/TerminalSize.h"

// A terminal, opened by name, that is given back with the settings it had: by the destructor,
// or by a signal (Restoration.h). It does not become the controlling one. One at a time in a
// process, for one thread.
class Terminal {
 public:
  // Throws std::runtime_error: no such terminal, or none on which a dialog can be drawn.
  explicit Terminal(const std::string& path);
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  int fd() const { return fd_.get(); }
  // As it is now; the usual one of its kind where it does not tell.
  TerminalSize size() const;

 private:
  OwnedFd fd_;
  TerminalSize usualSize_;
  Restoration restoration_;
};

#endif
