#include "tests/support/PseudoTerminal.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

PseudoTerminal::PseudoTerminal(uid_t owner) : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
  char path[64];
  if (master_ == -1 || grantpt(master_) != 0 || unlockpt(master_) != 0 ||
      ptsname_r(master_, path, sizeof path) != 0) {
    throw std::system_error(errno, std::generic_category(), "no pseudo-terminal");
  }
  path_ = path;
  slave_ = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (slave_ == -1 || fcntl(master_, F_SETFL, O_NONBLOCK) != 0 ||
      (owner != geteuid() && fchown(slave_, owner, static_cast<gid_t>(-1)) != 0)) {
    throw std::system_error(errno, std::generic_category(), "no use of a pseudo-terminal");
  }
}

PseudoTerminal::~PseudoTerminal() {
  close(slave_);
  close(master_);
}

termios PseudoTerminal::mode() const {
  termios mode = {};
  tcgetattr(slave_, &mode);
  return mode;
}

std::string PseudoTerminal::drawn() {
  std::string text;
  char part[1024];
  for (;;) {
    const ssize_t length = read(master_, part, sizeof part);
    if (length <= 0) return text;
    text.append(part, static_cast<std::size_t>(length));
  }
}

void PseudoTerminal::type(const std::string& text) {
  if (write(master_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::system_error(errno, std::generic_category(), "cannot type");
  }
}

int PseudoTerminal::typedAhead() const {
  int count = 0;
  ioctl(slave_, FIONREAD, &count);
  return count;
}
