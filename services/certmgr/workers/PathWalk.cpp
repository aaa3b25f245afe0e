#include "services/certmgr/workers/PathWalk.h"

#include <fcntl.h>
#include <limits.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <deque>
#include <utility>

namespace {

constexpr int kMaxLinks = 40;  // as many as the kernel follows

constexpr mode_t kSearch = 1;
constexpr mode_t kRead = 4;

// The name of an open object that no rename can turn into another's.
std::string nameOf(const OwnedFd& object) {
  return "/proc/self/fd/" + std::to_string(object.get());
}

bool modeTellsAll(const OwnedFd& object) {
  struct statfs system = {};
  if (::fstatfs(object.get(), &system) != 0 || system.f_type == PROC_SUPER_MAGIC) return false;
  return ::getxattr(nameOf(object).c_str(), "system.posix_acl_access", nullptr, 0) < 0 &&
         (errno == ENODATA || errno == ENOTSUP);
}

// One walk from the root to the end of a path. Methods that return false have set errno.
class PathWalk {
 public:
  PathWalk(uid_t uid, const std::vector<gid_t>& groups) : uid_(uid), groups_(groups) {}

  bool go(const std::string& path) {
    if (!follow(path)) return false;
    while (!parts_.empty()) {
      if (!step()) return false;
    }
    return true;
  }

  OwnedFd openEnd() const {
    if (!require(kRead)) return OwnedFd();
    return OwnedFd(::open(nameOf(here_).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  }

 private:
  // Goes along `path` before what is left of the way.
  bool follow(const std::string& path) {
    std::deque<std::string> parts;
    for (std::size_t begin = 0; begin <= path.size();) {
      const std::size_t end = std::min(path.find('/', begin), path.size());
      if (end > begin) parts.push_back(path.substr(begin, end - begin));
      begin = end + 1;
    }
    // What ends in a slash has to be a directory.
    if (!path.empty() && path.back() == '/') parts.emplace_back(".");
    parts_.insert(parts_.begin(), parts.begin(), parts.end());
    if (path.front() == '/') here_ = OwnedFd(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    return static_cast<bool>(here_);
  }

  bool step() {
    if (!require(kSearch)) return false;
    OwnedFd next(::openat(here_.get(), parts_.front().c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    if (!next || ::fstat(next.get(), &status) != 0) return false;
    parts_.pop_front();
    if (!S_ISLNK(status.st_mode)) {
      here_ = std::move(next);
      return true;
    }
    if (++links_ > kMaxLinks) return failWith(ELOOP);
    if (!modeTellsAll(next)) return failWith(EACCES);
    char target[PATH_MAX];
    const ssize_t length = ::readlinkat(next.get(), "", target, sizeof target);
    if (length <= 0) return length == 0 ? failWith(ENOENT) : false;
    return follow(std::string(target, static_cast<std::size_t>(length)));
  }

  bool require(mode_t right) const {
    struct stat status = {};
    if (::fstat(here_.get(), &status) != 0) return false;
    if (right == kSearch && !S_ISDIR(status.st_mode)) return failWith(ENOTDIR);
    mode_t rights = status.st_mode;
    if (status.st_uid == uid_) {
      rights >>= 6;
    } else if (std::find(groups_.begin(), groups_.end(), status.st_gid) != groups_.end()) {
      rights >>= 3;
    }
    return ((rights & right) != 0 && modeTellsAll(here_)) || failWith(EACCES);
  }

  static bool failWith(int error) {
    errno = error;
    return false;
  }

  uid_t uid_;
  const std::vector<gid_t>& groups_;
  OwnedFd here_;
  std::deque<std::string> parts_;
  int links_ = 0;
};

}  // namespace

OwnedFd openFor(uid_t uid, const std::vector<gid_t>& groups, const std::string& path) {
  PathWalk walk(uid, groups);
  return walk.go(path) ? walk.openEnd() : OwnedFd();
}
