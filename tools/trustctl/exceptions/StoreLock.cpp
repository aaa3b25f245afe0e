#include "tools/trustctl/exceptions/StoreLock.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/Page.h"

namespace {

constexpr const char* lockName = ".trustctl.lock";
constexpr int looksBeforeMessage = 50;
constexpr long lookNanoseconds = 20'000'000;  // all of them: a second

int makeLockFile(const DirectoryEntries& store) {
  const int fd = openat(store.fd(), lockName, O_RDONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                        S_IRUSR | S_IWUSR);
  if (fd != -1) {
    store.giveToOwner(fd);
  }
  return fd;
}

int openLockFile(const DirectoryEntries& store, StoreLock::Kind kind) {
  for (;;) {
    int fd = openat(store.fd(), lockName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd == -1 && errno == ENOENT && kind == StoreLock::Kind::change) {
      fd = makeLockFile(store);
    }
    if (fd != -1 || errno != EEXIST) {
      return fd;
    }
  }
}

bool tryLock(int fd, int operation, const DirectoryEntries& store) {
  if (flock(fd, operation | LOCK_NB) == 0) {
    return true;
  }
  if (errno != EWOULDBLOCK && errno != EINTR) {
    store.fail("lock", lockName, errno);
  }
  return false;
}

// Whether the lock came within a second, in which nobody wonders.
bool lockSoon(int fd, int operation, const DirectoryEntries& store) {
  for (int look = 0; look < looksBeforeMessage; ++look) {
    if (tryLock(fd, operation, store)) {
      return true;
    }
    const timespec pause = {0, lookNanoseconds};
    nanosleep(&pause, nullptr);
    Interruption::check();
  }
  return false;
}

}  // namespace

StoreLock::StoreLock(const DirectoryEntries& store, Kind kind) : file_(openLockFile(store, kind)) {
  const int operation = kind == Kind::change ? LOCK_EX : LOCK_SH;
  if (file_.get() == -1 && kind == Kind::look && (errno == ENOENT || errno == EACCES)) {
    hadNoFile_ = errno == ENOENT;
    return;
  }
  if (file_.get() == -1) {
    store.fail("open", lockName, errno);
  }
  if (isatty(STDERR_FILENO) == 1) {
    if (lockSoon(file_.get(), operation, store)) {
      return;
    }
    printComplaint(fmt::format("waiting for another trustctl that is at work in '{}'",
                               printableText(store.path())));
  }
  while (flock(file_.get(), operation) == -1) {
    if (errno != EINTR) {
      store.fail("lock", lockName, errno);
    }
    Interruption::check();
  }
}

bool StoreLock::cameTooEarly(const DirectoryEntries& store) const {
  return hadNoFile_ && store.has(lockName);
}
