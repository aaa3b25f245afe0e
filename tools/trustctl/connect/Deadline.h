#ifndef TOOLS_TRUSTCTL_CONNECT_DEADLINE_H
#define TOOLS_TRUSTCTL_CONNECT_DEADLINE_H

#include <chrono>
#include <cstddef>

// The moment by which something that waits for others must be done, by a clock that nobody sets.
class Deadline {
 public:
  explicit Deadline(int seconds)
      : seconds_(seconds), end_(std::chrono::steady_clock::now() + std::chrono::seconds(seconds)) {}

  // The seconds that were given, for messages.
  int seconds() const { return seconds_; }

  // The deadline for the first of so many tries (at least one) that share what is left.
  Deadline share(std::size_t tries) const;

  // Waits for one of poll()'s `events`, an error or an end on the descriptor. False when the
  // deadline came first. Throws Interrupted on a signal; a failing poll() is a
  // std::system_error. Main thread only.
  bool await(int fd, short events) const;

 private:
  int remainingMilliseconds() const;

  int seconds_;
  std::chrono::steady_clock::time_point end_;
};

#endif
