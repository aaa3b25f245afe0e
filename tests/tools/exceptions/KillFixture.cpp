#include "tests/tools/exceptions/KillFixture.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <filesystem>
#include <limits>
#include <stdexcept>

#include "tests/support/SendSignal.h"
#include "tests/support/SlowBuild.h"
#include "tools/trustctl/exceptions/Diagnosis.h"

namespace {

constexpr int systemCallStop = SIGTRAP | 0x80;

// The number of the system call that a stopped process is about to make; -1 where it has just
// made one.
long nextSystemCall(pid_t child) {
  __ptrace_syscall_info info = {};
  if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0) {
    throw std::runtime_error("a run cannot be followed");
  }
  return info.op == PTRACE_SYSCALL_INFO_ENTRY ? static_cast<long>(info.entry.nr) : -1;
}

}  // namespace

KillTest::KillTest() {
  char memory[] = "/dev/shm/trustlib-test-XXXXXX";
  if (mkdtemp(memory) != nullptr) {
    memory_ = memory;
    store_ = memory_ + "/store";
  }
  environment_["LSAN_OPTIONS"] = "detect_leaks=0";  // it cannot work in a run that is followed
  inChild_ = [] { ptrace(PTRACE_TRACEME, 0, nullptr, nullptr); };
}

KillTest::~KillTest() {
  if (!memory_.empty()) {
    std::filesystem::remove_all(memory_);
  }
}

void KillTest::SetUp() {
  if (kEmulated) GTEST_SKIP() << "nobody can follow a process of an emulator";
  ExceptionsTest::SetUp();
}

int KillTest::complete(const std::vector<std::string>& arguments) {
  return runTo(arguments, std::numeric_limits<int>::max());
}

bool KillTest::runAndKill(const std::vector<std::string>& arguments, int points) {
  const int point = std::uniform_int_distribution(1, points)(random_);
  return runTo(arguments, point) == point;
}

// Returns how many points were met: fewer than asked for when the run ended by itself.
int KillTest::runTo(const std::vector<std::string>& arguments, int point) {
  const pid_t child = start(commandLine(arguments));
  int status = 0;
  waitpid(child, &status, 0);  // it stops where the program begins
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  bool isAtWork = false;
  int met = 0;
  while (WIFSTOPPED(status)) {
    const int signal = WSTOPSIG(status);
    const long call = signal == systemCallStop ? nextSystemCall(child) : -1;
    isAtWork = isAtWork || call == SYS_flock;
    if (isAtWork && call != -1 && ++met == point) {
      sendSignal(child, SIGKILL);
      finish(child);
      return met;
    }
    const int passedOn = signal == systemCallStop || signal == SIGTRAP ? 0 : signal;
    ptrace(PTRACE_SYSCALL, child, nullptr, passedOn);
    waitpid(child, &status, 0);
  }
  EXPECT_EQ(0, WEXITSTATUS(status)) << "a run that nobody killed failed";
  return met;
}

std::vector<std::string> KillTest::findings() const {
  const ExceptionStore store(store_);
  std::vector<std::string> found;
  for (const Finding& finding : Diagnosis(store).examineAll()) {
    if (!isNote(finding)) {
      found.push_back(finding.entry + " " + problemWord(finding.problem));
    }
  }
  return found;
}
