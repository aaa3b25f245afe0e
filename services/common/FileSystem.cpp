#include "services/common/FileSystem.h"

#include <errno.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>

namespace {

// 0 where the path leads to nothing that can be looked at.
mode_t modeOf(const std::string& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_mode : 0;
}

}  // namespace

bool pathExists(const std::string& path) {
  return modeOf(path) != 0;
}

bool isPlainFile(const std::string& path) {
  return S_ISREG(modeOf(path));
}

bool isDirectory(const std::string& path) {
  return S_ISDIR(modeOf(path));
}

std::string linkTarget(const std::string& path) {
  char target[PATH_MAX];
  const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
  return length > 0 ? std::string(target, static_cast<std::size_t>(length)) : std::string();
}

int makeDirectories(const std::string& path) {
  if (isDirectory(path)) return 0;
  constexpr mode_t kAllRights = 0777;
  for (std::size_t end = 0; end != std::string::npos;) {
    end = path.find('/', end + 1);
    const std::string part = path.substr(0, end);
    const int error = ::mkdir(part.c_str(), kAllRights) == 0 ? 0 : errno;
    if (error != 0 && !isDirectory(part)) return error == EEXIST ? ENOTDIR : error;
  }
  return 0;
}

std::string temporaryDirectory() {
  for (const char* variable : {"TMPDIR", "TMP", "TEMP", "TEMPDIR"}) {
    const char* named = getenv(variable);  // NOLINT(concurrency-mt-unsafe): nobody sets them
    if (named != nullptr) return isDirectory(named) ? named : "/tmp";
  }
  return "/tmp";
}
