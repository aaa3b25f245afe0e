#include "tools/trustctl/Progress.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

#include "tools/trustctl/Interruption.h"

namespace {

constexpr std::chrono::seconds patience(1);
constexpr std::chrono::milliseconds drawingInterval(200);

}  // namespace

Progress::Progress(std::string doing, std::size_t total, std::string things)
    : doing_(std::move(doing)),
      things_(std::move(things)),
      total_(total),
      isSeen_(isatty(STDERR_FILENO) == 1),
      next_(Clock::now() + patience) {}

Progress::~Progress() {
  hide();
}

void Progress::advance() {
  ++done_;
  wait();
}

void Progress::wait() {
  Interruption::check();
  if (!isSeen_ || Clock::now() < next_) {
    return;
  }
  next_ = Clock::now() + drawingInterval;
  (void)fprintf(stderr, "\r%s %zu of %zu %s\x1b[K", doing_.c_str(), done_, total_, things_.c_str());
  (void)fflush(stderr);
  isDrawn_ = true;
}

void Progress::hide() {
  if (isDrawn_) {
    (void)fputs("\r\x1b[K", stderr);
    isDrawn_ = false;
  }
}
