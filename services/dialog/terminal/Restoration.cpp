#include "services/dialog/terminal/Restoration.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>

namespace {

constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP, SIGALRM};

std::atomic<const Restoration*> pending{nullptr};
static_assert(std::atomic<const Restoration*>::is_always_lock_free, "a signal handler reads it");

bool writeUndo(const Restoration& restoration) {
  const std::size_t size = restoration.undo.size();
  return write(restoration.fd, restoration.undo.data(), size) == static_cast<ssize_t>(size);
}

// Only what a signal handler may call.
void restore(const Restoration& restoration) {
  fcntl(restoration.fd, F_SETFL, fcntl(restoration.fd, F_GETFL) | O_NONBLOCK);
  if (!writeUndo(restoration)) {
    tcflush(restoration.fd, TCOFLUSH);  // makes room
    writeUndo(restoration);
  }
  tcflush(restoration.fd, TCIFLUSH);
  tcsetattr(restoration.fd, TCSANOW, &restoration.settings);
}

void end(int /*signal*/) {
  if (const Restoration* restoration = pending.load()) restore(*restoration);
  _exit(EXIT_FAILURE);
}

}  // namespace

void exitOnSignals() {
  struct sigaction action {};
  action.sa_handler = end;
  sigfillset(&action.sa_mask);
  sigset_t ending;
  sigemptyset(&ending);
  for (const int signal : kSignals) {
    sigaction(signal, &action, nullptr);
    sigaddset(&ending, signal);
  }
  // Who starts a face may have held them back for itself.
  sigprocmask(SIG_UNBLOCK, &ending, nullptr);
}

void restoreOnSignals(const Restoration* restoration) {
  pending.store(restoration);
}
