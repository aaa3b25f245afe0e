#include "tests/support/ServiceProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <utility>

#include "tests/support/SendSignal.h"

namespace {

constexpr int kReadyFd = 9;

}  // namespace

ServiceProcess::ServiceProcess(std::vector<std::string> arguments)
    : ServiceProcess(CERTMGRD, std::move(arguments), Session::shared, "") {}

ServiceProcess::ServiceProcess(const std::string& program, std::vector<std::string> arguments,
                               const std::string& terminal)
    : ServiceProcess(program, std::move(arguments), Session::own, terminal) {}

ServiceProcess::ServiceProcess(const std::string& program, std::vector<std::string> arguments,
                               Session session, const std::string& terminal) {
  int ready[2];
  errors_ = memfd_create("errors", MFD_CLOEXEC);
  if (errors_ == -1 || pipe2(ready, O_CLOEXEC) != 0) throw std::runtime_error("no descriptors");
  arguments.insert(arguments.begin(), program);
  arguments.push_back("--ready-fd=" + std::to_string(kReadyFd));
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, errors_, STDERR_FILENO);
  // After the other, whose descriptor may have this very number.
  posix_spawn_file_actions_adddup2(&actions, ready[1], kReadyFd);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  if (session == Session::own) posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  if (!terminal.empty()) {
    // Whoever leads a session without a terminal gets the one that he opens.
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, terminal.c_str(), O_RDWR, 0);
  }
  const int failed =
      posix_spawn(&pid_, program.c_str(), &actions, &attributes, argv.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  close(ready[1]);
  // The end of the pipe without a line means that the service has ended.
  char line[16];
  ready_ = failed == 0 && read(ready[0], line, sizeof line) > 0;
  close(ready[0]);
  if (failed != 0) throw std::runtime_error("cannot start " + program);
}

ServiceProcess::~ServiceProcess() {
  if (pid_ != -1) end(SIGTERM);
  close(errors_);
}

std::string ServiceProcess::errors() const {
  std::string text(65536, '\0');
  const ssize_t length = pread(errors_, text.data(), text.size(), 0);
  text.resize(length < 0 ? 0 : static_cast<size_t>(length));
  return text;
}

int ServiceProcess::end(int signal) {
  sendSignal(pid_, signal);
  return wait();
}

int ServiceProcess::wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool endsWithItsParent(const std::function<std::unique_ptr<ServiceProcess>()>& start) {
  int alive[2];  // its writing end is held by the parent and the service, and nobody else
  if (pipe(alive) != 0) return false;
  const pid_t parent = fork();
  if (parent == 0) {
    close(alive[0]);
    const std::unique_ptr<ServiceProcess> service = start();
    (void)!::write(alive[1], service->isReady() ? "y" : "n", 1);
    for (;;) pause();
  }
  close(alive[1]);
  char byte = 0;
  const bool started = read(alive[0], &byte, 1) == 1 && byte == 'y';
  sendSignal(parent, SIGKILL);
  waitpid(parent, nullptr, 0);
  const bool ended = read(alive[0], &byte, 1) == 0;  // returns when the service has ended
  close(alive[0]);
  return started && ended;
}
