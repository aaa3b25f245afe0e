#include "tests/support/PseudoTerminal.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>

PseudoTerminal::PseudoTerminal(uid_t owner, unsigned short rows, unsigned short columns)
    : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
  char path[64];
  if (master_ == -1 || grantpt(master_) != 0 || unlockpt(master_) != 0 ||
      ptsname_r(master_, path, sizeof path) != 0) {
    throw std::system_error(errno, std::generic_category(), "no pseudo-terminal");
  }
  path_ = path;
  slave_ = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (slave_ == -1 || (owner != geteuid() && fchown(slave_, owner, static_cast<gid_t>(-1)) != 0)) {
    throw std::system_error(errno, std::generic_category(), "no use of a pseudo-terminal");
  }
  resize(rows, columns);
}

PseudoTerminal::~PseudoTerminal() {
  close(slave_);
  hangUp();
}

termios PseudoTerminal::settings() const {
  termios settings{};
  tcgetattr(slave_, &settings);
  return settings;
}

void PseudoTerminal::resize(unsigned short rows, unsigned short columns) const {
  const winsize size = {rows, columns, 0, 0};
  ioctl(master_, TIOCSWINSZ, &size);
}

std::string PseudoTerminal::drawn() const {
  std::string text;
  char part[1024];
  pollfd ready = {master_, POLLIN, 0};
  while (poll(&ready, 1, 0) == 1 && (ready.revents & POLLIN) != 0) {
    const ssize_t length = read(master_, part, sizeof part);
    if (length <= 0) break;
    text.append(part, static_cast<std::size_t>(length));
  }
  return text;
}

void PseudoTerminal::type(const std::string& text) const {
  if (write(master_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::system_error(errno, std::generic_category(), "cannot type");
  }
}

int PseudoTerminal::typedAhead() const {
  int count = 0;
  ioctl(slave_, FIONREAD, &count);
  return count;
}

void PseudoTerminal::stopOutput() const {
  tcflow(slave_, TCOOFF);
}

void PseudoTerminal::hangUp() {
  if (master_ != -1) close(master_);
  master_ = -1;
}

bool operator==(const termios& left, const termios& right) {
  return left.c_iflag == right.c_iflag && left.c_oflag == right.c_oflag &&
         left.c_cflag == right.c_cflag && left.c_lflag == right.c_lflag &&
         std::equal(std::begin(left.c_cc), std::end(left.c_cc), std::begin(right.c_cc));
}
