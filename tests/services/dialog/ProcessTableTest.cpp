#include "services/dialog/ProcessTable.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/PseudoTerminal.h"
#include "tests/support/SendSignal.h"

namespace {

// A process of its own session, named as if its line in the process table ended there.
class OddlyNamedProcess {
 public:
  // With that controlling terminal, or none when the path is empty.
  explicit OddlyNamedProcess(const std::string& terminal) {
    int ready[2];
    if (pipe(ready) != 0) throw std::runtime_error("no pipe");
    id_ = fork();
    if (id_ == 0) {
      prctl(PR_SET_NAME, ") S 1 1 1 1");
      setsid();
      if (!terminal.empty() && open(terminal.c_str(), O_RDWR) == -1) _exit(1);
      if (write(ready[1], "", 1) != 1) _exit(1);
      for (;;) pause();
    }
    close(ready[1]);
    char byte = 0;
    if (read(ready[0], &byte, 1) != 1) throw std::runtime_error("no process");
    close(ready[0]);
  }
  ~OddlyNamedProcess() {
    sendSignal(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
  }
  OddlyNamedProcess(const OddlyNamedProcess&) = delete;
  OddlyNamedProcess& operator=(const OddlyNamedProcess&) = delete;

  pid_t id() const { return id_; }

 private:
  pid_t id_ = -1;
};

TEST(ProcessTable, ProgramIsThePathOfWhatRuns) {
  EXPECT_EQ(std::filesystem::read_symlink("/proc/self/exe"), programOf(getpid(), geteuid()));
}

TEST(ProcessTable, ProgramOfAnotherUsersProcessIsNotTold) {
  EXPECT_EQ("", programOf(getpid(), geteuid() + 1));
}

TEST(ProcessTable, ProgramOfNoProcessIsEmpty) {
  EXPECT_EQ("", programOf(0, geteuid()));
}

TEST(ProcessTable, TerminalIsFoundWhateverTheProcessIsCalled) {
  const PseudoTerminal terminal(geteuid());
  struct stat status = {};
  ASSERT_EQ(0, stat(terminal.path().c_str(), &status));
  const OddlyNamedProcess process(terminal.path());
  EXPECT_EQ(status.st_rdev, foregroundTerminalOf(process.id()));
}

TEST(ProcessTable, ProcessWithoutATerminalHasNone) {
  const OddlyNamedProcess process("");
  EXPECT_FALSE(foregroundTerminalOf(process.id()));
}

}  // namespace
