#include "tests/services/dialog/terminal/FaceProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include "tests/support/SendSignal.h"

namespace {

constexpr int kPatienceMilliseconds = 25000;  // for a program that hangs

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::string readOnce(int fd) {
  std::string text(65536, '\0');
  const ssize_t length = read(fd, text.data(), text.size());
  text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
  return text;
}

}  // namespace

FaceProcess::FaceProcess(PseudoTerminal& terminal, const std::string& model, const Setup& setup)
    : terminal_(terminal), errors_(memfd_create("errors", MFD_CLOEXEC)) {
  const OwnedFd input(memfd_create("model", MFD_CLOEXEC));
  int pipe[2];
  if (!errors_ || !input || pipe2(pipe, O_CLOEXEC) != 0) throw std::runtime_error("no descriptors");
  output_ = OwnedFd(pipe[0]);
  const OwnedFd childsEnd(pipe[1]);
  if (pwrite(input.get(), model.data(), model.size(), 0) != static_cast<ssize_t>(model.size())) {
    throw std::runtime_error("cannot write the model");
  }

  std::vector<std::string> arguments = {DIALOG_TERMINAL, "--tty",
                                        setup.path.empty() ? terminal.path() : setup.path};
  arguments.insert(arguments.end(), setup.arguments.begin(), setup.arguments.end());
  std::vector<std::string> environment = {"TERM=" + setup.term, "LC_ALL=" + setup.locale};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input.get(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, childsEnd.get(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errors_.get(), STDERR_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  const int failed = posix_spawn(&pid_, DIALOG_TERMINAL, &actions, &attributes,
                                 pointersTo(arguments).data(), pointersTo(environment).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) throw std::runtime_error("cannot start " DIALOG_TERMINAL);
}

FaceProcess::~FaceProcess() {
  if (pid_ == -1) return;
  kill(SIGKILL);
  waitpid(pid_, nullptr, 0);
}

bool FaceProcess::shows(const std::string& text) {
  for (;;) {
    const std::size_t found = drawn_.find(text, seen_);
    if (found != std::string::npos) {
      seen_ = found + text.size();
      return true;
    }
    if (!readMore()) return false;
  }
}

int FaceProcess::wait() {
  while (readMore()) {
  }
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  // What it drew last may have come after its answer.
  pollfd drawing = {terminal_.master(), POLLIN, 0};
  while (poll(&drawing, 1, 0) == 1 && (drawing.revents & POLLIN) != 0) {
    drawn_ += readOnce(terminal_.master());
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void FaceProcess::kill(int signal) const {
  sendSignal(pid_, signal);
}

std::string FaceProcess::errors() const {
  std::string text(65536, '\0');
  const ssize_t length = pread(errors_.get(), text.data(), text.size(), 0);
  text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
  return text;
}

bool FaceProcess::readMore() {
  pollfd ready[] = {{terminal_.master(), POLLIN, 0}, {output_.get(), POLLIN, 0}};
  if (poll(ready, 2, kPatienceMilliseconds) <= 0) throw std::runtime_error("it hangs");
  if ((ready[0].revents & POLLIN) != 0) drawn_ += readOnce(terminal_.master());
  if (ready[1].revents == 0) return true;
  const std::string part = readOnce(output_.get());
  answer_ += part;
  return !part.empty();
}
