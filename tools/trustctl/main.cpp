#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "services/common/PrintableText.h"
#include "tools/trustctl/Command.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/Suggestion.h"

namespace {

constexpr const char* help =
    "Examples:\n"
    "  trustctl verify --domain example.org chain.pem\n"
    "      May the chain in chain.pem be trusted for example.org?\n"
    "  openssl s_client -connect example.org:443 -servername example.org -showcerts </dev/null |\n"
    "      trustctl verify --domain example.org -\n"
    "      The same for what a server sends.\n"
    "  trustctl explain NO_TRUSTED\n"
    "      What a warning means, and what to do about it.\n\n"
    "More about a command: trustctl COMMAND --help\n\n"
    "Exit status: 0 trusted (or done), 1 not trusted, 2 wrong use or unusable input,\n"
    "3 no verdict could be had.\n";

// A descriptor that is opened later must not become one of the three standard ones.
void openStandardDescriptors() {
  int fd = 0;
  do {
    fd = open("/dev/null", O_RDWR);
  } while (fd != -1 && fd <= STDERR_FILENO);
  if (fd != -1) {
    close(fd);
  }
}

int complain(ExitStatus status, const std::string& text) {
  fmt::print(stderr, "trustctl: {}\n", text);
  return static_cast<int>(status);
}

std::vector<std::string> commandNames(const CLI::App& program) {
  std::vector<std::string> names;
  for (const CLI::App* command : program.get_subcommands({})) {
    names.push_back(command->get_name());
  }
  return names;
}

void requireKnownCommand(const CLI::App& program, int argc, char** argv) {
  if (argc < 2) {
    throw CommandError(ExitStatus::wrongUse,
                       "say what to do: verify or explain; learn more with: trustctl --help");
  }
  const std::string word = argv[1];
  const std::vector<std::string> names = commandNames(program);
  if (!word.empty() && word.front() == '-') {
    return;  // an option of the program itself
  }
  if (std::find(names.begin(), names.end(), word) == names.end()) {
    throw CommandError(ExitStatus::wrongUse,
                       fmt::format("there is no command '{}'{}; learn more with: trustctl --help",
                                   printableText(word), didYouMean(word, names)));
  }
}

// CLI11 would take the next argument for the value of "--option=".
void requireValuesBehindEqualsSigns(int argc, char** argv) {
  for (int i = 1; i < argc && std::string_view(argv[i]) != "--"; ++i) {
    const std::string_view word = argv[i];
    if (word.substr(0, 2) == "--" && word.find('=') == word.size() - 1) {
      throw CommandError(ExitStatus::wrongUse,
                         fmt::format("{}: the value is empty; give one or leave the option out",
                                     printableText(word.substr(0, word.size() - 1))));
    }
  }
}

// Of what CLI11 says only the text is used: how the program speaks and exits is its own.
int explainParseError(const CLI::App& program, const CLI::ParseError& error) {
  const std::vector<CLI::App*> chosen = program.get_subcommands();
  const std::string command = chosen.empty() ? "" : " " + chosen.front()->get_name();
  return complain(ExitStatus::wrongUse, fmt::format("{}; learn more with: trustctl{} --help",
                                                    printableText(error.what(), 300), command));
}

int run(int argc, char** argv) {
  CLI::App program("trustctl judges the certificate chains of servers: trusted or not, and why.",
                   "trustctl");
  program.footer(help);
  program.set_version_flag("--version", "trustctl " TRUSTCTL_VERSION, "Print the version");
  program.set_help_flag("-h,--help", "Print this help");
  program.require_subcommand(0, 1);
  CommandAction chosen;
  addVerifyCommand(&program, &chosen);
  addExplainCommand(&program, &chosen);
  try {
    requireKnownCommand(program, argc, argv);
    requireValuesBehindEqualsSigns(argc, argv);
    program.parse(argc, argv);
    if (!chosen) {
      throw CommandError(ExitStatus::wrongUse, "no command is given; see: trustctl --help");
    }
    return static_cast<int>(chosen());
  } catch (const CLI::CallForHelp&) {
    fmt::print("{}", program.help());
    return 0;
  } catch (const CLI::CallForVersion&) {
    fmt::print("trustctl {}\n", TRUSTCTL_VERSION);
    return 0;
  } catch (const CLI::ParseError& error) {
    return explainParseError(program, error);
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
