#include "tests/services/dialog/DialogAsker.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include "platform/objects/ControlObject.h"
#include "tests/support/SendSignal.h"

namespace {

// Becomes the foreground of the terminal when the pipe says so, as a shell does when its job has
// died and left a child behind. Ends with the asker.
[[noreturn]] void displace(const char* pipe, const char* terminal) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  char line = 0;
  const int word = open(pipe, O_RDONLY);
  if (read(word, &line, 1) != 1) _exit(1);
  setpgid(0, 0);
  (void)signal(SIGTTOU, SIG_IGN);
  tcsetpgrp(open(terminal, O_RDWR), getpid());
  for (;;) pause();
}

// The child's part: system calls only, since other threads may have held locks.
[[noreturn]] void ask(const std::string& request, const DialogAsker::Options& options, int out) {
  setsid();
  const gid_t group = options.group == static_cast<gid_t>(-1) ? options.user : options.group;
  if (options.user != static_cast<uid_t>(-1) &&
      (setresgid(group, group, group) != 0 ||
       setresuid(options.user, options.user, options.user) != 0)) {
    _exit(1);
  }
  prctl(PR_SET_DUMPABLE, 1);  // as if it had been started by that user
  if (!options.terminal.empty() && open(options.terminal.c_str(), O_RDWR) == -1) _exit(1);
  // A group of its own is not the terminal's foreground; only the leader of a session cannot
  // leave his, so a child asks.
  if (options.background && fork() == 0) setpgid(0, 0);
  if (options.background && getpid() == getsid(0)) {
    int status = 0;
    wait(&status);
    _exit(0);
  }
  if (!options.displacing.empty() && fork() == 0) {
    displace(options.displacing.c_str(), options.terminal.c_str());
  }
  const int service = openControlObject("/pps/services/dialog/control?wait");
  if (write(service, request.data(), request.size()) != static_cast<ssize_t>(request.size())) {
    _exit(1);
  }
  static char answer[65536];
  const ssize_t length = read(service, answer, sizeof answer);
  if (length > 0 && write(out, answer, static_cast<std::size_t>(length)) != length) _exit(1);
  _exit(0);
}

}  // namespace

DialogAsker::DialogAsker(const std::string& request, const Options& options) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  process_ = fork();
  if (process_ == 0) ask(request, options, ends[1]);
  close(ends[1]);
  answer_ = ends[0];
  if (process_ == -1) throw std::runtime_error("no process");
}

DialogAsker::~DialogAsker() {
  giveUp();
  close(answer_);
}

std::string DialogAsker::answer() {
  std::string text;
  char part[4096];
  for (;;) {
    const ssize_t length = read(answer_, part, sizeof part);
    if (length <= 0) return text;
    text.append(part, static_cast<std::size_t>(length));
  }
}

void DialogAsker::giveUp() {
  if (process_ == -1) return;
  sendSignal(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  process_ = -1;
}
