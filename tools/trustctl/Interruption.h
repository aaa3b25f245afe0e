#ifndef TOOLS_TRUSTCTL_INTERRUPTION_H
#define TOOLS_TRUSTCTL_INTERRUPTION_H

#include <signal.h>
#include <sys/types.h>

#include <exception>

// Ends the command because a signal asked for it. Everything made for the run is undone by
// unwinding; then the program dies of that very signal.
class Interrupted : public std::exception {
 public:
  const char* what() const noexcept override { return "interrupted"; }
};

// SIGINT, SIGTERM, SIGHUP and SIGQUIT in this process. A signal never ends the process at once: it
// makes every wait fail with EINTR, again and again until the process notices, and ends the
// children that are watched. For the main thread only.
class Interruption {
 public:
  // Takes the signals over. One that was ignored when the process began stays ignored.
  static void install();

  // A child that a signal also sends SIGTERM to, until it is forgotten. At most four.
  static void watchChild(pid_t child);
  static void forgetChild(pid_t child);

  // The signal that came, 0 for none.
  static int signalNumber();

  // Throws Interrupted when a signal has come.
  static void check();

  // Dies of the signal that came, so that the caller's shell sees it.
  [[noreturn]] static void reraise();
};

// Holds the signals back as long as it lives, for steps that must not be torn.
class InterruptionBlocker {
 public:
  InterruptionBlocker();
  ~InterruptionBlocker();

  InterruptionBlocker(const InterruptionBlocker&) = delete;
  InterruptionBlocker& operator=(const InterruptionBlocker&) = delete;

 private:
  sigset_t before_;
};

#endif
