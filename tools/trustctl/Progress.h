#ifndef TOOLS_TRUSTCTL_PROGRESS_H
#define TOOLS_TRUSTCTL_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <string>

// Tells on standard error how far long work is: one line that is drawn over and goes in the end.
// Only on a terminal, and not before a second has passed. One at a time.
class Progress {
 public:
  // "checked 120 of 4000"; a total of 0 is one that nobody knows.
  explicit Progress(std::string verb, std::size_t total = 0);
  ~Progress();

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // So much is done; cheap enough for every step.
  void show(std::size_t done);

  // Takes the line away, for what is to be printed now; the next show() brings it back.
  void hide();

 private:
  using Clock = std::chrono::steady_clock;

  std::string verb_;
  std::size_t total_;
  bool isOnTerminal_;
  bool isShown_ = false;
  Clock::time_point next_;
};

#endif
