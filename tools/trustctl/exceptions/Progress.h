#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_PROGRESS_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <string>

// Tells on a terminal how far a long task is: one line on standard error, from the second second
// on, gone when the task ends. Silent anywhere else.
class Progress {
 public:
  // "reading 1200 of 100000 records", with the first word as given.
  Progress(std::string doing, std::size_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // One more is done. Throws Interrupted when a signal has come.
  void advance();

 private:
  using Clock = std::chrono::steady_clock;

  std::string doing_;
  std::size_t total_;
  std::size_t done_ = 0;
  bool isSeen_;             // standard error is a terminal
  Clock::time_point next_;  // when to draw
  bool isDrawn_ = false;
};

#endif
