#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "services/common/CommandText.h"
#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandWords.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/Program.h"

namespace {

// A descriptor that is opened later must not become one of the three standard ones. For reading
// only: what is written to one that was closed is lost, and must fail.
void openStandardDescriptors() {
  int fd = 0;
  do {
    fd = open("/dev/null", O_RDONLY);
  } while (fd != -1 && fd <= STDERR_FILENO);
  if (fd != -1) {
    close(fd);
  }
}

int complain(ExitStatus status, const std::string& text) {
  printComplaint(text);
  return static_cast<int>(status);
}

// Of what CLI11 says only the text is used: how the program speaks and exits is its own.
std::string describe(const CLI::ParseError& error, const std::string& command) {
  return fmt::format("{}; learn more with: {} --help", printableText(error.what(), 300), command);
}

int run(int argc, char** argv) {
  Program program;
  const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  try {
    requireKnownWords(program.app, words);
    program.app.parse(argc, argv);
    if (!program.chosen) {
      throw CommandError(ExitStatus::wrongUse, "no command is given; see: trustctl --help");
    }
    return static_cast<int>(program.chosen());
  } catch (const CLI::CallForHelp&) {
    const CLI::App& command = commandOf(program.app, words);
    print(helpText(describeCommand(command, commandPath(program.app, words)), pageColumns()));
    return 0;
  } catch (const CLI::CallForVersion&) {
    print(program.app.version() + "\n");
    return 0;
  } catch (const CLI::ParseError& error) {
    return complain(ExitStatus::wrongUse, describe(error, commandPath(program.app, words)));
  } catch (const CommandError& error) {
    return complain(error.status(), error.what());
  }
}

// Output that was lost must not pass for a verdict that was told.
int finishOutput(int status) {
  if (fflush(stdout) != 0 || ferror(stdout) != 0) {
    return complain(ExitStatus::undecided,
                    "the output cannot be written; check the disk or the pipe");
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  openStandardDescriptors();
  (void)setlocale(LC_CTYPE, "");  // tells whether the terminal shows UTF-8
  Interruption::install();
  try {
    return finishOutput(run(argc, argv));
  } catch (const Interrupted&) {
    Interruption::reraise();
  } catch (const std::exception& error) {
    return complain(ExitStatus::undecided,
                    fmt::format("cannot go on: {}", printableText(error.what(), 300)));
  }
}
