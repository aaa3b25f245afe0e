#include "services/dialog/Terminal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

#include "services/common/FileSystem.h"
#include "services/common/UserIdentity.h"
#include "services/dialog/ProcessTable.h"

namespace {

// Pseudo-terminals; the kernel numbers them all under this one.
constexpr unsigned kPtsMajor = 136;
// Plain colours, the cursor, the normal screen.
constexpr std::string_view kUsualState = "\x1b[0m\x1b[?25h\x1b[?1049l";

std::string pathOf(dev_t device) {
  if (major(device) == kPtsMajor) return "/dev/pts/" + std::to_string(minor(device));
  const std::string entry =
      "/sys/dev/char/" + std::to_string(major(device)) + ":" + std::to_string(minor(device));
  return "/dev/" + std::filesystem::path(linkTarget(entry)).filename().string();
}

bool isSameMode(const termios& a, const termios& b) {
  return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
         a.c_lflag == b.c_lflag && memcmp(a.c_cc, b.c_cc, sizeof a.c_cc) == 0;
}

}  // namespace

Terminal::Terminal(pid_t process, dev_t device, std::string path, OwnedFd fd, const termios& mode)
    : process_(process), device_(device), path_(std::move(path)), fd_(std::move(fd)), mode_(mode) {}

std::optional<Terminal> Terminal::find(pid_t process, const UserAccount& user) {
  if (auto terminal = openThatOf(process, user)) return terminal;
  return isOwnUser(user) ? openThatOf(getpid(), user) : std::nullopt;
}

std::optional<Terminal> Terminal::openThatOf(pid_t process, const UserAccount& user) {
  const auto found = foregroundTerminalOf(process);
  if (!found) return std::nullopt;
  const dev_t device = *found;
  const std::string path = pathOf(device);
  const UserIdentity identity(user);
  OwnedFd fd(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  struct stat status = {};
  termios mode = {};
  if (!fd || fstat(fd.get(), &status) != 0 || !S_ISCHR(status.st_mode) ||
      status.st_rdev != device || status.st_uid != user.uid || tcgetattr(fd.get(), &mode) != 0) {
    return std::nullopt;
  }
  return Terminal(process, device, path, std::move(fd), mode);
}

bool Terminal::isInFront() const {
  return foregroundTerminalOf(process_) == device_;
}

void Terminal::restore(bool broken) const {
  termios now = {};
  if (tcgetattr(fd_.get(), &now) != 0) return;
  if (!broken && isSameMode(now, mode_)) return;
  const ssize_t ignored = ::write(fd_.get(), kUsualState.data(), kUsualState.size());
  (void)ignored;
  tcflush(fd_.get(), TCIFLUSH);
  tcsetattr(fd_.get(), TCSANOW, &mode_);
}
