#include "tools/trustctl/Progress.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

#include <fmt/format.h>

namespace {

constexpr std::chrono::milliseconds quietTime{1000};
constexpr std::chrono::milliseconds betweenLooks{200};

void draw(const std::string& text) {
  (void)fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace

Progress::Progress(std::string verb, std::size_t total)
    : verb_(std::move(verb)),
      total_(total),
      isOnTerminal_(isatty(STDERR_FILENO) == 1),
      next_(Clock::now() + quietTime) {}

Progress::~Progress() {
  hide();
}

void Progress::show(std::size_t done) {
  if (!isOnTerminal_ || Clock::now() < next_) {
    return;
  }
  next_ = Clock::now() + betweenLooks;
  isShown_ = true;
  draw(total_ == 0 ? fmt::format("\r{} {} ", verb_, done)
                   : fmt::format("\r{} {} of {} ", verb_, done, total_));
}

void Progress::hide() {
  if (isShown_) {
    isShown_ = false;
    draw("\r\x1b[K");
  }
}
