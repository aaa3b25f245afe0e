#include "services/certmgr/stores/ChangeWatch.h"

#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

ChangeWatch::ChangeWatch() : events_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

bool ChangeWatch::watch(const std::string& directory) {
  if (!events_) return false;
  constexpr std::uint32_t kChanges = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                     IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF |
                                     IN_MOVE_SELF;
  if (::inotify_add_watch(events_.get(), directory.c_str(), kChanges | IN_ONLYDIR) != -1) {
    return true;
  }
  // One that is not there appears in its parent, which is watched as well.
  return errno == ENOENT || errno == ENOTDIR;
}

std::uint64_t ChangeWatch::changes() {
  int waiting = 0;
  if (!events_ || ::ioctl(events_.get(), FIONREAD, &waiting) != 0 || waiting == 0) return changes_;
  // Counted before the events are gone, for threads that find none left; and after, for those
  // that went to look at the files in between. What changed does not matter: any event means a
  // fresh look at all files.
  ++changes_;
  char events[4096];
  while (::read(events_.get(), events, sizeof events) > 0) {
  }
  return ++changes_;
}
