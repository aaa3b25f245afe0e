#include "tools/trustctl/Interruption.h"

#include <errno.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>

namespace {

constexpr int taken[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

static_assert(std::atomic<int>::is_always_lock_free && std::atomic<pid_t>::is_always_lock_free,
              "a signal handler may use these");
std::atomic<int> received{0};
std::atomic<pid_t> watched[4];  // 0 where there is none

void endWatchedChildren() {
  for (const std::atomic<pid_t>& child : watched) {
    if (child.load() > 0) {
      kill(child.load(), SIGTERM);
    }
  }
}

void replaceWatched(pid_t before, pid_t after) {
  for (std::atomic<pid_t>& child : watched) {
    if (child.load() == before) {
      child.store(after);
      return;
    }
  }
}

// The signal may come just before a wait begins and be missed by it. The alarm comes again
// every second, so that the next try ends the wait.
void onAlarm(int /*signal*/) {
  const int saved = errno;
  endWatchedChildren();
  alarm(1);
  errno = saved;
}

void onSignal(int signal) {
  const int saved = errno;
  received.store(signal);
  endWatchedChildren();
  alarm(1);
  errno = saved;
}

void setHandler(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  for (const int other : taken) {
    sigaddset(&action.sa_mask, other);
  }
  sigaddset(&action.sa_mask, SIGALRM);
  action.sa_flags = 0;  // no SA_RESTART: waits must fail
  sigaction(signal, &action, nullptr);
}

bool isIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

void Interruption::install() {
  setHandler(SIGALRM, onAlarm);
  for (const int signal : taken) {
    if (!isIgnored(signal)) {
      setHandler(signal, onSignal);
    }
  }
}

void Interruption::watchChild(pid_t child) {
  replaceWatched(0, child);
}

void Interruption::forgetChild(pid_t child) {
  replaceWatched(child, 0);
}

int Interruption::signalNumber() {
  return received.load();
}

void Interruption::check() {
  if (signalNumber() != 0) {
    throw Interrupted();
  }
}

void Interruption::reraise() {
  alarm(0);
  const int signal = signalNumber();
  setHandler(signal, SIG_DFL);
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  kill(getpid(), signal);
  sigprocmask(SIG_UNBLOCK, &only, nullptr);
  _exit(128 + signal);
}

InterruptionBlocker::InterruptionBlocker() : before_() {
  sigset_t blocked;
  sigemptyset(&blocked);
  for (const int signal : taken) {
    sigaddset(&blocked, signal);
  }
  sigaddset(&blocked, SIGALRM);
  sigprocmask(SIG_BLOCK, &blocked, &before_);
}

InterruptionBlocker::~InterruptionBlocker() {
  sigprocmask(SIG_SETMASK, &before_, nullptr);
}
