#ifndef TESTS_SERVICES_DIALOG_TERMINAL_FACEPROCESS_H
#define TESTS_SERVICES_DIALOG_TERMINAL_FACEPROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/objects/ControlSocket.h"
#include "tests/support/PseudoTerminal.h"

// The real trust-dialog-terminal as a child in a session of its own, on a terminal that the
// test plays. The destructor ends it.
class FaceProcess {
 public:
  struct Setup {
    std::string term = "xterm-256color";
    std::string locale = "C.UTF-8";
    std::vector<std::string> arguments;  // after --tty and the path
    std::string path;                    // for --tty; empty: the terminal's
  };

  // `model` is what it reads. The terminal is borrowed.
  FaceProcess(PseudoTerminal& terminal, const std::string& model, const Setup& setup);
  FaceProcess(PseudoTerminal& terminal, const std::string& model)
      : FaceProcess(terminal, model, Setup()) {}
  ~FaceProcess();
  FaceProcess(const FaceProcess&) = delete;
  FaceProcess& operator=(const FaceProcess&) = delete;

  // Reads what is drawn until the text comes, after what earlier calls have waited for. False
  // when the program ends without it.
  bool shows(const std::string& text);
  // Waits until it has ended, reading what is drawn, and returns the exit status; -1 for death
  // by a signal.
  int wait();
  void kill(int signal) const;

  // Until now.
  const std::string& drawn() const { return drawn_; }
  const std::string& answer() const { return answer_; }
  std::string errors() const;

 private:
  // Reads more of what it draws or answers; false when it has ended.
  bool readMore();

  PseudoTerminal& terminal_;
  pid_t pid_ = -1;
  OwnedFd output_;
  OwnedFd errors_;  // an unnamed file
  std::string answer_;
  std::string drawn_;
  std::size_t seen_ = 0;
};

#endif
