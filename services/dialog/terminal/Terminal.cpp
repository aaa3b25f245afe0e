#include "services/dialog/terminal/Terminal.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "services/common/PrintableText.h"
#include "services/dialog/terminal/Capabilities.h"

namespace {

[[noreturn]] void fail(const std::string& path, int reason) {
  throw std::runtime_error("cannot use the terminal " + printableText(path) + ": " +
                           std::generic_category().message(reason));
}

}  // namespace

// Without O_NONBLOCK, opening a serial line waits for somebody to call.
Terminal::Terminal(const std::string& path)
    : fd_(open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK)) {
  if (!fd_ || tcgetattr(fd(), &restoration_.settings) != 0 ||
      fcntl(fd(), F_SETFL, fcntl(fd(), F_GETFL) & ~O_NONBLOCK) != 0) {
    fail(path, errno);
  }
  Capabilities known = readCapabilities(fd());
  if (!known.canMoveCursor) throw std::runtime_error("the terminal cannot move its cursor");
  usualSize_ = known.usualSize;
  restoration_.fd = fd();
  restoration_.undo = std::move(known.undo);
  restoreOnSignals(&restoration_);
}

Terminal::~Terminal() {
  // What was typed at the dialog is not meant for what reads the terminal next.
  tcflush(fd(), TCIFLUSH);
  tcsetattr(fd(), TCSANOW, &restoration_.settings);
  restoreOnSignals(nullptr);
}

TerminalSize Terminal::size() const {
  winsize told{};
  if (ioctl(fd(), TIOCGWINSZ, &told) != 0 || told.ws_row == 0 || told.ws_col == 0) {
    return usualSize_;
  }
  return {told.ws_row, told.ws_col};
}
