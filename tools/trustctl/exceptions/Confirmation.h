#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_CONFIRMATION_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_CONFIRMATION_H

#include <string>

namespace CLI {
class App;
}

// --yes of commands that take something away.
struct Confirmation {
  bool given = false;
  bool json = false;  // a program reads what is said, and no program is asked

  // Whether somebody can be asked: standard input and standard error are a terminal.
  static bool canAsk();

  // Throws CommandError (wrongUse) when --yes is missing and nobody can be asked, or --json is
  // given.
  void require() const;

  // Puts the question, unless --yes answered it; everything but "y" and "yes" is no. Throws
  // Interrupted.
  bool isGranted(const std::string& question) const;
};

// Adds --yes and --json to a command; `confirmation` must outlive the parse.
void addConfirmation(CLI::App* command, Confirmation* confirmation);

#endif
