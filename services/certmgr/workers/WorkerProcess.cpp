#include "services/certmgr/workers/WorkerProcess.h"

#include <poll.h>
#include <spawn.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "platform/objects/ControlServer.h"
#include "services/certmgr/workers/WorkerMessage.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kUnknownStatus = -1;

// How long whoever asked waits for the end of a process that was killed: most take a few
// milliseconds.
constexpr int kPausesToEnd = 200;
constexpr std::chrono::milliseconds kPause{5};

[[noreturn]] void failToStart(int error) {
  throw std::runtime_error("cannot start a worker process: " +
                           std::generic_category().message(error) + "; ask again later");
}

// The descriptors that a program starts with beside the first three.
class StartingFiles {
 public:
  StartingFiles() { posix_spawn_file_actions_init(&actions_); }
  ~StartingFiles() { posix_spawn_file_actions_destroy(&actions_); }
  StartingFiles(const StartingFiles&) = delete;
  StartingFiles& operator=(const StartingFiles&) = delete;

  // To the same number: that takes away the mark which would close it.
  void keep(int fd) {
    const int error = posix_spawn_file_actions_adddup2(&actions_, fd, fd);
    if (error != 0) failToStart(error);
  }

  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

pid_t spawn(const WorkerCommand& command, int socket) {
  std::vector<std::string> arguments = command.arguments;
  // In front, where no "--" can make it anything but an option.
  arguments.insert(arguments.begin() + 1, "--worker-fd=" + std::to_string(socket));
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  StartingFiles files;
  files.keep(socket);
  for (const int fd : command.descriptors) files.keep(fd);
  pid_t process = -1;
  const int error =
      posix_spawn(&process, "/proc/self/exe", files.get(), nullptr, pointers.data(), environ);
  if (error != 0) failToStart(error);
  return process;
}

int millisecondsTo(Clock::time_point moment) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(moment - Clock::now()).count();
  constexpr std::int64_t kMost = 60 * 60 * 1000;  // more comes round again
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, kMost));
}

std::string describe(int status) {
  if (WIFSIGNALED(status)) {
    return "was ended by signal " + std::to_string(WTERMSIG(status)) + " (" +
           strsignal(WTERMSIG(status)) + ")";
  }
  return "ended with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

WorkerProcess::WorkerProcess(const WorkerCommand& command) {
  int ends[2] = {-1, -1};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) failToStart(errno);
  socket_ = OwnedFd(ends[0]);
  const OwnedFd workersEnd(ends[1]);
  process_ = spawn(command, workersEnd.get());
}

WorkerProcess::~WorkerProcess() {
  if (process_ != -1 && !givenUp_) end();
}

bool WorkerProcess::isAlive() const {
  pollfd event = {socket_.get(), POLLIN, 0};
  return ::poll(&event, 1, 0) == 0;
}

std::string WorkerProcess::ask(const std::string& message, Clock::time_point until) {
  // It reads one message before the next is sent, so there is always room.
  if (::send(socket_.get(), message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0) {
    failEnded();
  }
  for (;;) {
    pollfd event = {socket_.get(), POLLIN, 0};
    const int count = ::poll(&event, 1, millisecondsTo(until));
    if (count < 0 && errno != EINTR) failEnded();
    if (count > 0) break;
    if (count == 0 && Clock::now() >= until) {
      for (int i = 0; i < kPausesToEnd && !tryEnd(); ++i) std::this_thread::sleep_for(kPause);
      throw std::runtime_error(
          "there is no verdict within the time that a request may take; ask again, or start the "
          "service with a longer --deadline");
    }
  }
  std::string answer(ControlServer::kMaxAnswerBytes, '\0');
  const ssize_t length = ::recv(socket_.get(), answer.data(), answer.size(), MSG_DONTWAIT);
  if (length <= 0) failEnded();
  answer.resize(static_cast<std::size_t>(length));
  return answer;
}

void WorkerProcess::failEnded() {
  const int status = end();
  throw std::runtime_error(
      "the process that worked on this request " +
      (status == kUnknownStatus ? std::string("has gone") : describe(status)) +
      "; nothing was decided: ask again, and report the certificates if it happens again");
}

bool WorkerProcess::tryEnd() {
  givenUp_ = true;
  if (process_ == -1) return true;
  ::kill(process_, SIGKILL);
  if (::waitpid(process_, nullptr, WNOHANG) == 0) return false;
  process_ = -1;
  return true;
}

int WorkerProcess::end() {
  // It may have closed its end and live; one that has ended keeps the status that it ended with.
  ::kill(process_, SIGKILL);
  int status = 0;
  pid_t reaped = -1;
  do {
    reaped = ::waitpid(process_, &status, 0);
  } while (reaped == -1 && errno == EINTR);
  process_ = -1;
  return reaped == -1 ? kUnknownStatus : status;
}
