#ifndef SERVICES_DIALOG_TERMINAL_H
#define SERVICES_DIALOG_TERMINAL_H

#include <sys/types.h>
#include <termios.h>

#include <optional>
#include <string>

#include "platform/objects/ControlSocket.h"
#include "services/common/UserAccount.h"

// A terminal that a dialog can be shown on, as it was before.
class Terminal {
 public:
  // The terminal to ask `user` on: that of `process` where it runs in the foreground, else that
  // of this program, where it runs in the foreground itself and for the same user. Only a
  // terminal that belongs to the user counts. Nothing when there is none.
  static std::optional<Terminal> find(pid_t process, const UserAccount& user);

  const std::string& path() const { return path_; }

  // Whether the process that it was found by still runs in its foreground, so that what is typed
  // there is meant for it. Never waits.
  bool isInFront() const;

  // Brings it back to what it was if whoever drew on it has ended without doing so, which a
  // changed mode shows and `broken` claims: its mode, the normal screen, cursor and colours.
  // What was typed into the dialog meanwhile is dropped, lest a shell take it for a command.
  // Never waits for the terminal, and keeps silent when it has gone.
  void restore(bool broken) const;

 private:
  static std::optional<Terminal> openThatOf(pid_t process, const UserAccount& user);
  Terminal(pid_t process, dev_t device, std::string path, OwnedFd fd, const termios& mode);

  pid_t process_;
  dev_t device_;
  std::string path_;
  OwnedFd fd_;
  termios mode_;
};

#endif
