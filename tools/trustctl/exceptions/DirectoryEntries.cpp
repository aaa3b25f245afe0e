#include "tools/trustctl/exceptions/DirectoryEntries.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>

#include <system_error>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"

namespace {

const char* nextStepAfter(int error) {
  switch (error) {
    case EACCES:
    case EPERM:
      return "run as the user whose store it is";
    case EROFS:
      return "make the file system writable first";
    case ENOSPC:
    case EDQUOT:
      return "free some space and run it again";
    case ENOENT:
      return "it was removed meanwhile; look again with: trustctl exceptions list";
    case ELOOP:
    case ENOTDIR:
      return "look what stands there instead";
    default:
      return "check the disk, then: trustctl exceptions doctor";
  }
}

}  // namespace

bool isSameFile(const struct stat& left, const struct stat& right) {
  return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

DirectoryEntries::DirectoryEntries(const std::string& path, bool followLink)
    : path_(path),
      fd_(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | (followLink ? 0 : O_NOFOLLOW))) {
  if (fd_.get() == -1) {
    fail("open", {}, errno);
  }
}

std::optional<struct stat> DirectoryEntries::find(const std::string& name) const {
  struct stat status {};
  if (fstatat(fd(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
    return status;
  }
  if (errno != ENOENT) {
    fail("look at", name, errno);
  }
  return {};
}

void DirectoryEntries::putInPlaceOf(const std::string& gone, const std::string& substitute) const {
  if (renameat(fd(), substitute.c_str(), fd(), gone.c_str()) == -1) {
    fail("rename", substitute, errno);
  }
  // Of two names of one file a rename leaves both.
  const auto left = find(substitute);
  const auto right = find(gone);
  if (left && right && isSameFile(*left, *right)) {
    unlink(substitute);
  }
}

bool DirectoryEntries::moveIfFree(const std::string& from, const DirectoryEntries& to,
                                  const std::string& name) const {
  if (renameat2(fd(), from.c_str(), to.fd(), name.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  int error = errno;
  if (error == EINVAL || error == ENOSYS || error == ENOTSUP) {
    error = moveInTwoSteps(from, to, name);
  }
  if (error == 0) {
    return true;
  }
  if (error != EEXIST) {
    fail("move", from, error);
  }
  return false;
}

// For file systems that cannot give a name and refuse a taken one in one step; on those without
// links somebody may take it between the look and the step.
int DirectoryEntries::moveInTwoSteps(const std::string& from, const DirectoryEntries& to,
                                     const std::string& name) const {
  const int error = link(from, to, name);
  if (error == 0) {
    unlink(from);
    return 0;
  }
  if (error != EPERM && error != ENOTSUP && error != ENOSYS) {
    return error;
  }
  if (to.has(name)) {
    return EEXIST;
  }
  return renameat(fd(), from.c_str(), to.fd(), name.c_str()) == 0 ? 0 : errno;
}

int DirectoryEntries::link(const std::string& from, const DirectoryEntries& to,
                           const std::string& name) const {
  return linkat(fd(), from.c_str(), to.fd(), name.c_str(), 0) == 0 ? 0 : errno;
}

void DirectoryEntries::unlink(const std::string& name) const {
  if (unlinkat(fd(), name.c_str(), 0) == -1) {
    fail("remove", name, errno);
  }
}

void DirectoryEntries::sync() const {
  if (fsync(fd()) == -1 && errno != EINVAL && errno != EINTR) {
    fail("make lasting", {}, errno);
  }
}

void DirectoryEntries::giveToOwner(int made) const {
  struct stat status {};
  if (geteuid() == 0 && fstat(fd(), &status) == 0 && fchown(made, status.st_uid, status.st_gid)) {
    errno = 0;  // it is root's then, who can use it all the same
  }
}

void DirectoryEntries::fail(const char* what, const std::string& name, int error) const {
  const std::string path = name.empty() ? path_ : path_ + "/" + name;
  throw CommandError(ExitStatus::undecided,
                     fmt::format("cannot {} '{}': {}; {}", what, printableText(path, 300),
                                 std::generic_category().message(error), nextStepAfter(error)));
}
