#ifndef TOOLS_TRUSTCTL_PROGRESS_H
#define TOOLS_TRUSTCTL_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <string>

// Tells on a terminal how far a long task is: one line on standard error, from the second second
// on, gone when the task ends. Silent anywhere else.
class Progress {
 public:
  // "reading 1200 of 100000 records", with the words around the numbers as given.
  Progress(std::string doing, std::size_t total, std::string things = "records");
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // One more is done. Throws Interrupted when a signal has come.
  void advance();

  // Nothing more is done, but the line may be due.
  void wait();

  // Takes the line away for what is to be printed; the next of the above draws it again.
  void hide();

 private:
  using Clock = std::chrono::steady_clock;

  std::string doing_;
  std::string things_;
  std::size_t total_;
  std::size_t done_ = 0;
  bool isSeen_;             // standard error is a terminal
  Clock::time_point next_;  // when to draw
  bool isDrawn_ = false;
};

#endif
