#ifndef SERVICES_DIALOG_TERMINALFACE_H
#define SERVICES_DIALOG_TERMINALFACE_H

#include <chrono>
#include <string>

#include "services/dialog/Face.h"

// Shows a dialog on the terminal of the asking process, or on that of this program, by a program
// that draws it: PROGRAM --tty PATH [--no-colour]. See FaceProcess.h for what that reads and
// writes. It runs as the asking user, knows the kind of terminal and the language from the
// asking process's environment, and whatever becomes of it the terminal is left as it was.
class TerminalFace : public Face {
 public:
  explicit TerminalFace(std::string program) : program_(std::move(program)) {}

  bool canReach(const Audience& audience) const override;
  // The model's time limit holds whether or not the program heeds it.
  std::optional<DialogChoice> show(const DialogModel& model, const Audience& audience,
                                   const std::stop_token& stop) const override;

 private:
  const std::string program_;
};

#endif
