#include "tools/trustctl/exceptions/Confirmation.h"

#include <errno.h>
#include <unistd.h>

#include <cstdio>

#include "services/common/LowerCase.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/TerminalTurn.h"

namespace {

constexpr std::size_t longestAnswer = 1024;

// Up to the end of the line or of the input.
std::string readAnswer() {
  std::string answer;
  while (answer.size() < longestAnswer) {
    char c = 0;
    const ssize_t count = read(STDIN_FILENO, &c, 1);
    Interruption::check();
    if (count == -1 && errno == EINTR) {
      continue;
    }
    if (count <= 0 || c == '\n') {
      break;
    }
    answer += c;
  }
  return answer;
}

}  // namespace

bool Confirmation::canAsk() {
  return isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
}

void Confirmation::require() const {
  if (!given && json) {
    refuse("with --json nobody is asked; say --yes to go ahead");
  }
  if (!given && !canAsk()) {
    refuse("nobody can be asked here, as this is no terminal; say --yes to go ahead");
  }
}

bool Confirmation::isGranted(const std::string& question) const {
  if (given) {
    return true;
  }
  TerminalTurn turn;
  turn.await();
  (void)fflush(stdout);
  (void)fputs((question + " [y/N] ").c_str(), stderr);
  (void)fflush(stderr);
  const std::string answer = lowerCase(readAnswer());
  return answer == "y" || answer == "yes";
}

void addConfirmation(CLI::App* command, Confirmation* confirmation) {
  addFlag(command, "-y,--yes", &confirmation->given, "Do not ask first");
  addFlag(command, "--json", &confirmation->json, "One JSON object a line, for programs");
}
