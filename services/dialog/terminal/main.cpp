// trust-dialog-terminal: shows one dialog on a terminal and prints what was chosen.
#include <locale.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

#include "services/dialog/model/DialogModelCodec.h"
#include "services/dialog/terminal/Restoration.h"
#include "services/dialog/terminal/TerminalFace.h"

namespace {

constexpr std::size_t kLongestModel = 16U * 1024 * 1024;

struct Options {
  std::string terminal;
  bool noColour = false;
};

void describe(CLI::App& app, Options& options) {
  app.set_version_flag("--version", TRUSTLIB_VERSION);
  app.footer(
      "Reads the dialog as JSON from standard input; prints decline, once or always.\n"
      "Exit status: 0 answered, 1 could not ask.");
  app.add_option("--tty", options.terminal, "Terminal to ask on")->required();
  app.add_flag("--no-colour", options.noColour, "No colours, even where the terminal has them");
}

std::string readInput() {
  std::string text;
  char part[65536];
  for (;;) {
    const ssize_t length = read(STDIN_FILENO, part, sizeof part);
    if (length == 0) return text;
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) throw std::runtime_error("cannot read the dialog from standard input");
    text.append(part, static_cast<std::size_t>(length));
    if (text.size() > kLongestModel) throw std::runtime_error("the dialog is too large");
  }
}

void printChoice(DialogChoice choice) {
  if (std::printf("%s\n", dialogChoiceWord(choice)) < 0 || std::fflush(stdout) != 0) {
    throw std::runtime_error("cannot write the answer");
  }
}

}  // namespace

int main(int argc, char** argv) {
  exitOnSignals();
  (void)setlocale(LC_ALL, "");  // decides on the characters that can be shown
  Options options;
  CLI::App app("Shows a certificate dialog on a terminal", "trust-dialog-terminal");
  try {
    describe(app, options);
    app.parse(argc, argv);
    const DialogModel model = decodeDialogModel(readInput());
    printChoice(askOnTerminal(model, options.terminal, !options.noColour));
    return EXIT_SUCCESS;
  } catch (const CLI::Success& asked) {
    return app.exit(asked);
  } catch (const std::exception& failure) {
    (void)std::fprintf(stderr, "trust-dialog-terminal: %s\n", failure.what());
    return EXIT_FAILURE;
  }
}
