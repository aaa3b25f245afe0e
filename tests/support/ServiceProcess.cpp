#include "tests/support/ServiceProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace {

constexpr int kReadyFd = 9;

}  // namespace

ServiceProcess::ServiceProcess(std::vector<std::string> arguments) {
  int ready[2];
  errors_ = memfd_create("errors", MFD_CLOEXEC);
  if (errors_ == -1 || pipe2(ready, O_CLOEXEC) != 0) throw std::runtime_error("no descriptors");
  arguments.insert(arguments.begin(), CERTMGRD);
  arguments.push_back("--ready-fd=" + std::to_string(kReadyFd));
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ready[1], kReadyFd);
  posix_spawn_file_actions_adddup2(&actions, errors_, STDERR_FILENO);
  const int failed = posix_spawn(&pid_, CERTMGRD, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ready[1]);
  // The end of the pipe without a line means that the service has ended.
  char line[16];
  ready_ = failed == 0 && read(ready[0], line, sizeof line) > 0;
  close(ready[0]);
  if (failed != 0) throw std::runtime_error("cannot start " CERTMGRD);
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
  kill(pid_, signal);
  return wait();
}

int ServiceProcess::wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
