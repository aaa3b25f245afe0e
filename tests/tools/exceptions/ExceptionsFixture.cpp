#include "tests/tools/exceptions/ExceptionsFixture.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>

#include "tests/support/PseudoTerminal.h"

std::vector<std::string> ExceptionsTest::commandLine(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), "exceptions");
  arguments.insert(arguments.end(), {"--store", store_});
  return arguments;
}

ProgramRun ExceptionsTest::exceptions(std::vector<std::string> arguments) {
  return run(commandLine(std::move(arguments)));
}

ExceptionsTest::TerminalRun ExceptionsTest::atTerminal(std::vector<std::string> arguments,
                                                       const std::string& typed) {
  const PseudoTerminal terminal;
  std::vector<std::string> words = commandLine(std::move(arguments));
  words.insert(words.begin(), TRUSTCTL_PROGRAM);
  std::vector<char*> argv;
  for (std::string& word : words) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    setsid();
    const int fd = open(terminal.path().c_str(), O_RDWR);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      dup2(fd, standard);
    }
    setenv("HOME", home_.c_str(), 1);
    execv(argv[0], argv.data());
    _exit(127);
  }
  TerminalRun result;
  int status = 0;
  bool answered = false;
  while (waitpid(child, &status, WNOHANG) == 0) {
    pollfd readable = {terminal.master(), POLLIN, 0};
    poll(&readable, 1, 10);
    result.drawn += terminal.drawn();
    if (!answered && result.drawn.find("[y/N]") != std::string::npos) {
      terminal.type(typed);
      answered = true;
    }
  }
  result.drawn += terminal.drawn();
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  return result;
}

testing::AssertionResult ExceptionsTest::isClean() {
  const ProgramRun result = exceptions({"doctor"});
  if (result.status == 0) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << result.out << result.err;
}

std::vector<rapidjson::Document> parseLines(const std::string& out) {
  std::vector<rapidjson::Document> documents;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) {
    documents.push_back(parseLine(line + "\n"));
  }
  return documents;
}

std::string memberNames(const rapidjson::Value& object) {
  std::string names;
  for (const auto& member : object.GetObject()) {
    names += (names.empty() ? "" : " ") + std::string(member.name.GetString());
  }
  return names;
}
