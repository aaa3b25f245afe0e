#ifndef TOOLS_TRUSTCTL_CONNECT_DEADLINE_H
#define TOOLS_TRUSTCTL_CONNECT_DEADLINE_H

#include <chrono>
#include <cstddef>

// The moment by which something that waits for others must be done, by a clock that nobody sets.
class Deadline {
 public:
  // `option` is the one that the seconds come from; borrowed.
  explicit Deadline(int seconds, const char* option = "--timeout")
      : seconds_(seconds),
        option_(option),
        end_(std::chrono::steady_clock::now() + std::chrono::seconds(seconds)) {}

  // For messages: the seconds that were given, and what allows for more.
  int seconds() const { return seconds_; }
  const char* option() const { return option_; }

  // The deadline for the first of so many tries (at least one) that share what is left.
  Deadline share(std::size_t tries) const;

  // Waits for one of poll()'s `events`, an error or an end on the descriptor. False when the
  // deadline came first. Throws Interrupted on a signal; a failing poll() is a
  // std::system_error. Main thread only.
  bool await(int fd, short events) const;

 private:
  int remainingMilliseconds() const;

  int seconds_;
  const char* option_;
  std::chrono::steady_clock::time_point end_;
};

#endif
