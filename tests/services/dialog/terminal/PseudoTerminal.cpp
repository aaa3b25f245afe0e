#include "tests/services/dialog/terminal/PseudoTerminal.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

PseudoTerminal::PseudoTerminal(unsigned short rows, unsigned short columns)
    : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
  char name[64];
  if (!master_ || grantpt(master()) != 0 || unlockpt(master()) != 0 ||
      ptsname_r(master(), name, sizeof name) != 0) {
    throw std::runtime_error("no pseudo-terminal");
  }
  path_ = name;
  slave_ = OwnedFd(open(name, O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (!slave_) throw std::runtime_error("cannot open " + path_);
  resize(rows, columns);
}

termios PseudoTerminal::settings() const {
  termios settings{};
  tcgetattr(slave_.get(), &settings);
  return settings;
}

void PseudoTerminal::resize(unsigned short rows, unsigned short columns) const {
  const winsize size = {rows, columns, 0, 0};
  ioctl(master(), TIOCSWINSZ, &size);
}

void PseudoTerminal::type(const std::string& keys) const {
  if (write(master(), keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
    throw std::runtime_error("cannot type");
  }
}

void PseudoTerminal::stopOutput() const {
  tcflow(slave_.get(), TCOOFF);
}

bool operator==(const termios& left, const termios& right) {
  return left.c_iflag == right.c_iflag && left.c_oflag == right.c_oflag &&
         left.c_cflag == right.c_cflag && left.c_lflag == right.c_lflag &&
         std::equal(std::begin(left.c_cc), std::end(left.c_cc), std::begin(right.c_cc));
}
