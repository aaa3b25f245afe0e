#include "tools/trustctl/exceptions/Progress.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

#include "tools/trustctl/Interruption.h"

namespace {

constexpr std::chrono::seconds patience(1);
constexpr std::chrono::milliseconds drawingInterval(200);

}  // namespace

Progress::Progress(std::string doing, std::size_t total)
    : doing_(std::move(doing)),
      total_(total),
      isSeen_(isatty(STDERR_FILENO) == 1),
      next_(Clock::now() + patience) {}

Progress::~Progress() {
  if (isDrawn_) {
    (void)fputs("\r\x1b[K", stderr);
  }
}

void Progress::advance() {
  Interruption::check();
  ++done_;
  if (!isSeen_ || Clock::now() < next_) {
    return;
  }
  next_ = Clock::now() + drawingInterval;
  (void)fprintf(stderr, "\r%s %zu of %zu records\x1b[K", doing_.c_str(), done_, total_);
  (void)fflush(stderr);
  isDrawn_ = true;
}
