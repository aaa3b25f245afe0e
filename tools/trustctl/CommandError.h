#ifndef TOOLS_TRUSTCTL_COMMANDERROR_H
#define TOOLS_TRUSTCTL_COMMANDERROR_H

#include <stdexcept>
#include <string>

// What the program's exit status says. Scripts rely on these numbers.
enum class ExitStatus : int {
  trusted = 0,     // or: the command did what was asked
  notTrusted = 1,  // there is a verdict, and it is bad
  wrongUse = 2,    // the command line or an input cannot be used
  undecided = 3    // no verdict could be had
};

// Ends a command. The text is one line without the program's name in front: what failed, on
// what, and what to do next. Whatever comes from outside was escaped before it went in.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitStatus status, const std::string& text)
      : std::runtime_error(text), status_(status) {}

  ExitStatus status() const { return status_; }

 private:
  ExitStatus status_;
};

#endif
