#include "services/dialog/FaceProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/objects/ControlSocket.h"
#include "services/common/PrintableText.h"
#include "services/common/UserIdentity.h"
#include "services/dialog/model/DialogModelCodec.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kTimeToEnd{2};
constexpr int kWantedCheckMilliseconds = 250;
constexpr std::size_t kMaxAnswerBytes = 16;
constexpr std::size_t kMaxComplaintBytes = 512;
constexpr std::size_t kComplaintColumns = 200;
constexpr int kCannotRun = 127;
constexpr int kUnknownStatus = W_EXITCODE(kCannotRun, 0);

[[noreturn]] void failBecause(int error) {
  throw std::runtime_error("cannot show a dialog: " + std::generic_category().message(error));
}

OwnedFd orFail(int fd) {
  if (fd == -1) failBecause(errno);
  return OwnedFd(fd);
}

// The whole input at once, so that nobody has to feed it to a program that does not read.
OwnedFd makeInput(std::string_view text) {
  OwnedFd fd = orFail(memfd_create("dialog", MFD_CLOEXEC));
  while (!text.empty()) {
    const ssize_t written = ::write(fd.get(), text.data(), text.size());
    if (written < 0 && errno != EINTR) failBecause(errno);
    if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
  }
  if (lseek(fd.get(), 0, SEEK_SET) != 0) failBecause(errno);
  return fd;
}

void raiseEvent(int fd) {
  const std::uint64_t one = 1;
  const ssize_t ignored = ::write(fd, &one, sizeof one);
  (void)ignored;
}

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts) {
    pointers.push_back(const_cast<char*>(text.c_str()));  // exec does not write
  }
  pointers.push_back(nullptr);
  return pointers;
}

// The child's part: system calls only, since other threads held locks when it was forked.
// `errors` is -1 where it may write to this process's standard error.
[[noreturn]] void becomeFace(const FaceCommand& command, char* const* arguments,
                             char* const* environment, int input, int output, int errors,
                             pid_t parent) {
  setsid();
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGPIPE, SIGTTOU, SIGTTIN}) {
    (void)std::signal(signal, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  pthread_sigmask(SIG_SETMASK, &none, nullptr);
  bool ready = dup2(input, STDIN_FILENO) != -1 && dup2(output, STDOUT_FILENO) != -1;
  ready = ready && (errors == -1 || dup2(errors, STDERR_FILENO) != -1);
  // A folder that is closed to the user could be used from within.
  ready = ready && (!command.user || chdir("/") == 0);
#ifdef SYS_close_range
  // What this service was started with and never heard of.
  syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, 0);
#endif
  ready = ready && (!command.user || becomeUser(*command.user));
  // Last, since a change of user undoes it.
  ready = ready && prctl(PR_SET_PDEATHSIG, SIGTERM) == 0 && getppid() == parent;
  if (ready) execve(arguments[0], arguments, environment);
  _exit(kCannotRun);
}

struct Pipe {
  OwnedFd readEnd;
  OwnedFd writeEnd;
};

Pipe makePipe(int flags) {
  int ends[2] = {-1, -1};
  if (pipe2(ends, O_CLOEXEC | flags) != 0) failBecause(errno);
  return {OwnedFd(ends[0]), OwnedFd(ends[1])};
}

// Raises the event `fd` when the process has exited, and leaves it to be reaped: until then its
// number cannot become somebody else's.
void watchForExit(pid_t process, int fd) {
  siginfo_t ignored = {};
  while (waitid(P_PID, static_cast<id_t>(process), &ignored, WEXITED | WNOWAIT) == -1 &&
         errno == EINTR) {
  }
  raiseEvent(fd);
}

// One run of a face, from its start to its end.
class RunningFace {
 public:
  explicit RunningFace(const FaceCommand& command)
      : exited_(orFail(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))),
        stopped_(orFail(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))) {
    const OwnedFd input = makeInput(command.input);
    Pipe output = makePipe(0);
    output_ = std::move(output.readEnd);
    if (fcntl(output_.get(), F_SETFL, O_NONBLOCK) != 0) failBecause(errno);
    // Nobody reads complaints until it has ended; those without end must not make it wait.
    Pipe errors = command.user ? makePipe(O_NONBLOCK) : Pipe();
    errors_ = std::move(errors.readEnd);
    const std::vector<char*> arguments = pointersTo(command.arguments);
    const std::vector<char*> environment = pointersTo(command.environment);
    const pid_t parent = getpid();
    process_ = fork();
    if (process_ == 0) {
      becomeFace(command, arguments.data(), environment.data(), input.get(), output.writeEnd.get(),
                 errors.writeEnd.get(), parent);
    }
    if (process_ == -1) failBecause(errno);
    try {
      watcher_ = std::thread(watchForExit, process_, exited_.get());
    } catch (const std::system_error&) {
      reap();
      throw;
    }
  }

  // Kills what is left.
  ~RunningFace() {
    if (!reaped_) reap();
  }
  RunningFace(const RunningFace&) = delete;
  RunningFace& operator=(const RunningFace&) = delete;

  // Wakes await() up for good; from any thread.
  void stop() { raiseEvent(stopped_.get()); }

  void signal(int number) const {
    kill(process_, number);  // it may have no session of its own yet
    kill(-process_, number);
  }

  // Waits until it has exited (true), or until stop() is called while `stoppable`, nobody wants it
  // any more, it has written more than any answer, or the moment has come (false).
  bool await(std::optional<Clock::time_point> until, bool stoppable,
             const std::function<bool()>& isWanted = {}) {
    for (;;) {
      pollfd events[] = {{exited_.get(), POLLIN, 0},
                         {stoppable ? stopped_.get() : -1, POLLIN, 0},
                         {outputEnded_ ? -1 : output_.get(), POLLIN, 0}};
      const int left = millisecondsTo(until);
      const bool checks = isWanted && (left < 0 || left > kWantedCheckMilliseconds);
      if (poll(events, std::size(events), checks ? kWantedCheckMilliseconds : left) < 0) {
        if (errno == EINTR) continue;
        return false;
      }
      if (events[0].revents != 0 || events[2].revents != 0) readOutput();
      // First, since an answer that was given since is not from whom it was asked of.
      unwanted_ = isWanted && !isWanted();
      if (unwanted_) return false;
      if (events[0].revents != 0) return true;
      if (events[1].revents != 0 || (until && Clock::now() >= *until)) return false;
      if (stoppable && answer_.size() > kMaxAnswerBytes) return false;
    }
  }

  // What the last await() found.
  bool isUnwanted() const { return unwanted_; }

  bool isStopped() const {
    pollfd event = {stopped_.get(), POLLIN, 0};
    return poll(&event, 1, 0) == 1;
  }

  // Clears up after it and returns its status; ends it first where it has not ended.
  int reap() {
    signal(SIGKILL);
    if (watcher_.joinable()) watcher_.join();
    int status = 0;
    pid_t reaped = 0;
    while ((reaped = waitpid(process_, &status, 0)) == -1 && errno == EINTR) {
    }
    reaped_ = true;
    return reaped == process_ ? status : kUnknownStatus;
  }

  const std::string& answer() const { return answer_; }

  // The first line of what it has complained of, as far as it goes.
  std::string complaint() const {
    if (!errors_) return "";
    char part[kMaxComplaintBytes];
    const ssize_t length = ::read(errors_.get(), part, sizeof part);
    if (length <= 0) return "";
    const std::string_view text(part, static_cast<std::size_t>(length));
    return printableText(text.substr(0, text.find('\n')), kComplaintColumns);
  }

 private:
  static int millisecondsTo(std::optional<Clock::time_point> moment) {
    if (!moment) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*moment - Clock::now()).count();
    constexpr std::int64_t kMost = 60 * 60 * 1000;  // more comes round again
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, kMost));
  }

  void readOutput() {
    char part[64];
    ssize_t length = 1;
    while (length > 0 && answer_.size() <= kMaxAnswerBytes) {
      length = ::read(output_.get(), part, sizeof part);
      if (length > 0) answer_.append(part, static_cast<std::size_t>(length));
    }
    // What is longer than an answer is none, and need not be read.
    outputEnded_ = length >= 0 || (errno != EAGAIN && errno != EINTR);
  }

  OwnedFd exited_;
  OwnedFd stopped_;
  OwnedFd output_;
  OwnedFd errors_;
  bool outputEnded_ = false;
  std::string answer_;
  pid_t process_ = -1;
  std::thread watcher_;
  bool reaped_ = false;
  bool unwanted_ = false;
};

DialogChoice choiceOf(const std::string& answer) {
  for (const DialogChoice choice : {DialogChoice::once, DialogChoice::always}) {
    if (answer == dialogChoiceWord(choice) + std::string("\n")) return choice;
  }
  return DialogChoice::decline;
}

}  // namespace

FaceResult runFace(const FaceCommand& command, const std::stop_token& stop) {
  RunningFace face(command);
  const std::stop_callback onStop(stop, [&face] { face.stop(); });
  std::optional<Clock::time_point> until;
  if (command.limit) until = Clock::now() + *command.limit;

  FaceResult result;
  const bool ended = face.await(until, true, command.isWanted);
  if (!ended) {
    result.cancelled = face.isStopped() || face.isUnwanted();
    face.signal(SIGTERM);
    face.await(Clock::now() + kTimeToEnd, false);
  }
  const int status = face.reap();
  result.killed = WIFSIGNALED(status);
  result.complaint = face.complaint();
  if (ended && WIFEXITED(status) && WEXITSTATUS(status) == 0) {
    result.choice = choiceOf(face.answer());
  }
  return result;
}
