#include "tools/trustctl/connect/Deadline.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "tools/trustctl/Interruption.h"

Deadline Deadline::share(std::size_t tries) const {
  const auto now = std::chrono::steady_clock::now();
  Deadline part = *this;
  part.end_ = std::max(now, now + (end_ - now) / static_cast<int>(tries));
  return part;
}

// Rounded up: a wait must not end just before the deadline only to be begun again.
int Deadline::remainingMilliseconds() const {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
  return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

bool Deadline::await(int fd, short events) const {
  for (;;) {
    Interruption::check();
    const int left = remainingMilliseconds();
    if (left == 0) {
      return false;  // whatever is there: who never stops sending must not stop the clock
    }
    pollfd waiting = {fd, events, 0};
    const int count = poll(&waiting, 1, left);
    if (count > 0) {
      return true;
    }
    if (count == 0) {
      return false;
    }
    if (errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "cannot wait for the network");
    }
  }
}
