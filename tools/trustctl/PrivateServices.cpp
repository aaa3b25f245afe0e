#include "tools/trustctl/PrivateServices.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <fmt/format.h>

#include "platform/objects/ControlObject.h"
#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/ServiceProgram.h"

namespace {

constexpr const char* certificateManager = "/pps/services/certmgr/control";
constexpr int childReadyFd = 3;
constexpr int startLimitMilliseconds = 20000;
constexpr int stopSteps = 400;  // of 5 ms each

[[noreturn]] void fail(const std::string& what, int error) {
  throw CommandError(ExitStatus::undecided,
                     fmt::format("{}: {}", what, std::generic_category().message(error)));
}

std::vector<std::string> serviceArguments(const std::string& program, const std::string& directory,
                                          const ServiceSettings& settings) {
  std::vector<std::string> arguments = {program,      "--runtime-dir",
                                        directory,    "--ephemeral",
                                        "--ready-fd", std::to_string(childReadyFd)};
  // An absolute path cannot be taken for an option.
  auto addPath = [&arguments](const char* option, const std::string& path) {
    if (!path.empty()) {
      arguments.insert(arguments.end(), {option, std::filesystem::absolute(path).string()});
    }
  };
  if (!settings.cafile.empty() || !settings.capath.empty()) {
    arguments.emplace_back("--no-system-anchors");
  }
  addPath("--cafile", settings.cafile);
  addPath("--capath", settings.capath);
  addPath("--crlfile", settings.crlfile);
  if (settings.time) {
    arguments.insert(arguments.end(), {"--verification-time", fmt::format("@{}", *settings.time)});
  }
  return arguments;
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
  if (child == -1) {
    fail("cannot start private certificate services", errno);
  }
  return child;
}

// What the service said last before it gave up, without its own name.
std::string lastWords(int errorsFd) {
  char text[4096];
  const ssize_t length = pread(errorsFd, text, sizeof text, 0);
  std::string_view words(text, static_cast<std::size_t>(length > 0 ? length : 0));
  words = words.substr(0, words.find_last_not_of('\n') + 1);
  words = words.substr(words.find_last_of('\n') + 1);
  constexpr std::string_view prefix = "trust-certmgrd: ";
  if (words.substr(0, prefix.size()) == prefix) {
    words.remove_prefix(prefix.size());
  }
  return words.empty() ? "it gave no reason" : printableText(words, 300);
}

// The service writes a line when it listens; the end of the pipe means that it gave up.
void awaitReadiness(int readyFd, int errorsFd) {
  Interruption::check();
  pollfd waiting = {readyFd, POLLIN, 0};
  const int count = poll(&waiting, 1, startLimitMilliseconds);
  const int error = errno;
  Interruption::check();
  if (count == -1) {
    fail("cannot wait for the private certificate services", error);
  }
  if (count == 0) {
    throw CommandError(ExitStatus::undecided,
                       fmt::format("the private certificate services were not ready after {} "
                                   "seconds; try again when the machine is less busy",
                                   startLimitMilliseconds / 1000));
  }
  char byte = 0;
  if (read(readyFd, &byte, 1) != 1) {
    Interruption::check();
    throw CommandError(
        ExitStatus::undecided,
        fmt::format("the private certificate services did not start: {}", lastWords(errorsFd)));
  }
}

bool hasExited(pid_t child) {
  return waitpid(child, nullptr, WNOHANG) != 0;
}

void pause5ms() {
  const timespec span = {0, 5000000};
  nanosleep(&span, nullptr);
}

}  // namespace

bool servicesAreRunning() {
  if (access(certificateManager, F_OK) == 0) {
    return true;  // a platform, or a mount, that has control objects as files
  }
  const FileDescriptor service(openControlObject(certificateManager, O_CLOEXEC));
  if (service.get() != -1 || errno == EAGAIN) {
    return true;
  }
  if (errno == EACCES || errno == EPERM) {
    throw CommandError(ExitStatus::undecided,
                       "certificate services are running, but this user may not use them; add "
                       "--private to judge with services of this run's own");
  }
  return false;
}

PrivateServices::PrivateServices(const ServiceSettings& settings) {
  try {
    start(settings);
  } catch (...) {
    stop();
    throw;
  }
  setenv("PPS_RUNTIME_DIR", directory_.c_str(), 1);
  setenv("HOME", directory_.c_str(), 1);
}

PrivateServices::~PrivateServices() {
  stop();
}

void PrivateServices::makeDirectory() {
  std::error_code error;
  const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
  std::string path = ((error ? "/tmp" : parent) / "trustctl-XXXXXX").string();
  const InterruptionBlocker blocker;  // made and known, or neither
  if (mkdtemp(path.data()) == nullptr) {
    fail(fmt::format("cannot make a directory for private services at '{}' (TMPDIR)",
                     printableText(path)),
         errno);
  }
  directory_ = path;
}

void PrivateServices::start(const ServiceSettings& settings) {
  const std::string program = findServiceProgram();
  const FileDescriptor errors(memfd_create("trustctl", MFD_CLOEXEC));
  int ends[2] = {-1, -1};
  if (errors.get() == -1 || pipe2(ends, O_CLOEXEC) == -1) {
    fail("cannot start private certificate services", errno);
  }
  const FileDescriptor ready(ends[0]);
  FileDescriptor childsEnd(ends[1]);
  // Late, as nobody clears up after a kill between this and the child's start.
  makeDirectory();
  const std::vector<std::string> arguments = serviceArguments(program, directory_, settings);
  {
    const InterruptionBlocker blocker;  // a signal must find the child it is to end
    child_ = startService(arguments, errors.get(), childsEnd.get());
    Interruption::watchChild(child_);
  }
  childsEnd.reset();
  awaitReadiness(ready.get(), errors.get());
}

// The child clears its directory too. Doing both leaves nothing, whichever of the two dies.
void PrivateServices::stop() noexcept {
  const InterruptionBlocker blocker;  // nobody may signal a process that is no longer ours
  Interruption::watchChild(0);
  if (child_ > 0) {
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
    child_ = 0;
  }
  if (!directory_.empty()) {
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }
}
