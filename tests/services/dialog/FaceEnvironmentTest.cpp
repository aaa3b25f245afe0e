#include "services/dialog/FaceEnvironment.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SendSignal.h"

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

// A process with just that environment.
class Process {
 public:
  explicit Process(std::vector<std::string> environment) {
    std::vector<char*> variables;
    for (std::string& variable : environment) variables.push_back(variable.data());
    variables.push_back(nullptr);
    char program[] = "cat";
    char* const arguments[] = {program, nullptr};
    int input[2];
    int output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipes");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    const int failed = posix_spawnp(&id_, program, &actions, nullptr, arguments, variables.data());
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    close(output[1]);
    // Its environment is in place for certain once it does something.
    char byte = 'x';
    const bool runs =
        failed == 0 && write(input[1], &byte, 1) == 1 && read(output[0], &byte, 1) == 1;
    close(output[0]);
    input_ = input[1];
    if (!runs) throw std::runtime_error("cannot start a process");
  }
  ~Process() { end(); }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t id() const { return id_; }
  void end() {
    if (id_ == -1) return;
    sendSignal(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
    close(input_);
    id_ = -1;
  }

 private:
  pid_t id_ = -1;
  int input_ = -1;  // it lives until that ends
};

class FaceEnvironmentTest : public testing::Test {
 protected:
  FaceEnvironmentTest() {
    clearenv();
    setenv("PATH", "/usr/bin:/bin", 1);
    setenv("TERM", "own", 1);
    setenv("LANG", "own", 1);
  }

  static FaceEnvironment environmentOf(std::vector<std::string> variables) {
    const Process process(std::move(variables));
    return environmentFor({process.id(), lookUpUser(geteuid(), getegid())});
  }
};

TEST_F(FaceEnvironmentTest, TerminalAndLanguageAreTheAskers) {
  EXPECT_THAT(
      environmentOf({"TERM=linux", "LANG=de_DE.UTF-8", "LC_ALL=C", "LC_CTYPE=C.UTF-8"}).variables,
      UnorderedElementsAre("TERM=linux", "LANG=de_DE.UTF-8", "LC_ALL=C", "LC_CTYPE=C.UTF-8",
                           "PATH=/usr/bin:/bin"));
}

TEST_F(FaceEnvironmentTest, NothingElseIsTakenFromTheAsker) {
  EXPECT_THAT(environmentOf({"PATH=/evil", "LD_PRELOAD=evil.so", "TERMX=x", "HOME=/"}).variables,
              ElementsAre("PATH=/usr/bin:/bin"));
}

TEST_F(FaceEnvironmentTest, ValuesThatAreNotPlainAreLeftOut) {
  EXPECT_THAT(environmentOf({"TERM=\x1b[2J", "LANG=a b", "LC_ALL=\xc3\xa4", "LC_CTYPE="}).variables,
              ElementsAre("PATH=/usr/bin:/bin"));
}

TEST_F(FaceEnvironmentTest, ValuesThatAreLongAreLeftOut) {
  const std::string longest(128, 'a');
  EXPECT_THAT(environmentOf({"TERM=" + longest, "LANG=" + longest + "a"}).variables,
              ElementsAre("TERM=" + longest, "PATH=/usr/bin:/bin"));
}

TEST_F(FaceEnvironmentTest, OwnEnvironmentCountsWhereTheAskersCannotBeRead) {
  Process process({"TERM=linux"});
  const pid_t gone = process.id();
  process.end();
  EXPECT_THAT(environmentFor({gone, lookUpUser(geteuid(), getegid())}).variables,
              ElementsAre("TERM=own", "LANG=own", "PATH=/usr/bin:/bin"));
}

TEST_F(FaceEnvironmentTest, ColourIsTheRule) {
  EXPECT_TRUE(environmentOf({"NO_COLOR="}).colour);
}

TEST_F(FaceEnvironmentTest, AskerCanDoWithoutColour) {
  EXPECT_FALSE(environmentOf({"NO_COLOR=1"}).colour);
}

TEST_F(FaceEnvironmentTest, ServiceCanDoWithoutColour) {
  setenv("NO_COLOR", "1", 1);
  EXPECT_FALSE(environmentOf({"TERM=linux"}).colour);
}

}  // namespace
