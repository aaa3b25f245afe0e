#include "tools/trustctl/ServiceChild.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <string_view>
#include <system_error>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Interruption.h"

namespace {

constexpr int childReadyFd = 3;
constexpr int startLimitMilliseconds = 20000;
// Of 5 ms each. The dialog service takes 2 seconds of its own to end a face that hangs, and must
// then still put the terminal right.
constexpr int stopSteps = 800;

[[noreturn]] void fail(const ServiceProgram& program, const char* what, int error) {
  throw CommandError(ExitStatus::undecided,
                     fmt::format("cannot {} the private service {}: {}", what, program.name,
                                 std::generic_category().message(error)));
}

// The child's part, up to the service program. SIGTERM stays held back until that program is
// ready to end in order: then it clears its directory even where this program is killed before
// it has come that far. A group of its own keeps the terminal's Ctrl-C from it: this program
// passes that on.
[[noreturn]] void becomeService(char* const* arguments, int errorsFd, int readyFd, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) {
    kill(getpid(), SIGTERM);
  }
  setpgid(0, 0);
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  dup2(null, STDIN_FILENO);
  dup2(null, STDOUT_FILENO);
  dup2(errorsFd, STDERR_FILENO);
  // To itself dup2 would leave the descriptor to be closed.
  if (readyFd == childReadyFd ? fcntl(readyFd, F_SETFD, 0) != -1
                              : dup2(readyFd, childReadyFd) != -1) {
    execv(arguments[0], arguments);
  }
  dprintf(STDERR_FILENO, "%s\n", std::generic_category().message(errno).c_str());
  _exit(127);
}

// Returns -1, with errno, when there can be no child.
pid_t startService(const std::vector<std::string>& arguments, int errorsFd, int readyFd) {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) {
    pointers.push_back(const_cast<char*>(argument.c_str()));  // exec does not write
  }
  pointers.push_back(nullptr);
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0) {
    becomeService(pointers.data(), errorsFd, readyFd, parent);
  }
  return child;
}

bool hasExited(pid_t child) {
  return waitpid(child, nullptr, WNOHANG) != 0;
}

void pause5ms() {
  const timespec span = {0, 5000000};
  nanosleep(&span, nullptr);
}

}  // namespace

ServiceChild::ServiceChild(const ServiceProgram& program,
                           const std::function<std::vector<std::string>()>& prepare)
    : program_(program), errors_(memfd_create("trustctl", MFD_CLOEXEC)) {
  const std::string path = findServiceProgram(program);
  int ends[2] = {-1, -1};
  if (errors_.get() == -1 || pipe2(ends, O_CLOEXEC) == -1) {
    fail(program_, "start", errno);
  }
  const FileDescriptor ready(ends[0]);
  FileDescriptor childsEnd(ends[1]);
  std::vector<std::string> arguments = {path, "--ready-fd", std::to_string(childReadyFd)};
  for (std::string& argument : prepare()) {
    arguments.push_back(std::move(argument));
  }
  {
    const InterruptionBlocker blocker;  // a signal must find the child it is to end
    child_ = startService(arguments, errors_.get(), childsEnd.get());
    if (child_ == -1) {
      fail(program_, "start", errno);
    }
    Interruption::watchChild(child_);
  }
  childsEnd.reset();
  try {
    awaitReadiness(ready.get());
  } catch (...) {
    stop();
    throw;
  }
}

ServiceChild::~ServiceChild() {
  stop();
}

// What the service said last before it gave up, without its own name.
std::string ServiceChild::lastWords() const {
  char text[4096];
  const ssize_t length = pread(errors_.get(), text, sizeof text, 0);
  std::string_view words(text, static_cast<std::size_t>(length > 0 ? length : 0));
  words = words.substr(0, words.find_last_not_of('\n') + 1);
  words = words.substr(words.find_last_of('\n') + 1);
  const std::string prefix = fmt::format("{}: ", program_.name);
  if (words.substr(0, prefix.size()) == prefix) {
    words.remove_prefix(prefix.size());
  }
  return words.empty() ? "it gave no reason" : printableText(words, 300);
}

// The service writes a line when it listens; the end of the pipe means that it gave up.
void ServiceChild::awaitReadiness(int readyFd) const {
  Interruption::check();
  pollfd waiting = {readyFd, POLLIN, 0};
  const int count = poll(&waiting, 1, startLimitMilliseconds);
  const int error = errno;
  Interruption::check();
  if (count == -1) {
    fail(program_, "wait for", error);
  }
  if (count == 0) {
    throw CommandError(ExitStatus::undecided,
                       fmt::format("the private service {} was not ready after {} seconds; try "
                                   "again when the machine is less busy",
                                   program_.name, startLimitMilliseconds / 1000));
  }
  char byte = 0;
  if (read(readyFd, &byte, 1) != 1) {
    Interruption::check();
    throw CommandError(
        ExitStatus::undecided,
        fmt::format("the private service {} did not start: {}", program_.name, lastWords()));
  }
}

void ServiceChild::stop() noexcept {
  const InterruptionBlocker blocker;  // nobody may signal a process that is no longer ours
  Interruption::forgetChild(child_);
  kill(child_, SIGTERM);
  bool gone = hasExited(child_);
  for (int step = 0; !gone && step < stopSteps; ++step) {
    pause5ms();
    gone = hasExited(child_);
  }
  if (!gone) {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }
}
