#include "tests/support/Fifo.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace {

constexpr int kLimitMilliseconds = 60000;

}  // namespace

Fifo::Fifo(std::string path) : path_(std::move(path)) {
  // Open for both, so that it never ends and nobody waits for the other side to open it.
  if (mkfifo(path_.c_str(), 0600) != 0 || chmod(path_.c_str(), 0666) != 0 ||
      (fd_ = open(path_.c_str(), O_RDWR | O_CLOEXEC)) == -1) {
    throw std::system_error(errno, std::generic_category(), path_);
  }
}

Fifo::~Fifo() {
  close(fd_);
}

void Fifo::writeLine(const std::string& line) {
  const std::string text = line + "\n";
  if (write(fd_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::system_error(errno, std::generic_category(), path_);
  }
}

std::string Fifo::readLine() {
  std::string line;
  for (char byte = 0; byte != '\n'; line += byte) {
    pollfd event = {fd_, POLLIN, 0};
    if (poll(&event, 1, kLimitMilliseconds) != 1 || read(fd_, &byte, 1) != 1) {
      throw std::runtime_error("nothing came through " + path_);
    }
  }
  line.pop_back();
  return line;
}

bool Fifo::isEmpty() const {
  pollfd event = {fd_, POLLIN, 0};
  return poll(&event, 1, 0) == 0;
}
