#include "platform/objects/ControlObject.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr char kPrefix[] = "/pps/services/";
constexpr char kObject[] = "/control";
constexpr size_t kNameMax = 255;

// Text in a buffer of fixed size that remembers an overflow.
class FixedText {
 public:
  FixedText(char* out, size_t size) : out_(out), size_(size) {}

  FixedText& add(const char* text, size_t length) {
    if (overflow_ || length >= size_ - used_) {
      overflow_ = true;
      return *this;
    }
    memcpy(out_ + used_, text, length);
    used_ += length;
    out_[used_] = '\0';
    return *this;
  }
  FixedText& add(const char* text) { return add(text, strlen(text)); }

  FixedText& addNumber(unsigned number) {
    char digits[16];
    size_t at = sizeof digits;
    do {
      digits[--at] = static_cast<char>('0' + number % 10);
      number /= 10;
    } while (number != 0);
    return add(digits + at, sizeof digits - at);
  }

  int finish() const {
    if (!overflow_) return 0;
    errno = ENAMETOOLONG;
    return -1;
  }

 private:
  char* out_;
  size_t size_;
  size_t used_ = 0;
  bool overflow_ = false;
};

const char* environment(const char* name) {
  const char* value = secure_getenv(name);
  return value != nullptr && *value != '\0' ? value : nullptr;
}

void closeKeepingErrno(int fd) {
  const int saved = errno;
  close(fd);
  errno = saved;
}

// A directory's descriptor stands for its path, however long that is.
int connectThrough(int directoryFd, int flags) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  FixedText path(address.sun_path, sizeof address.sun_path);
  path.add("/proc/self/fd/").addNumber(static_cast<unsigned>(directoryFd));
  path.add("/").add(kControlSocketName);

  const int type = SOCK_SEQPACKET | SOCK_NONBLOCK | ((flags & O_CLOEXEC) != 0 ? SOCK_CLOEXEC : 0);
  const int fd = socket(AF_UNIX, type, 0);
  if (fd == -1) return -1;
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == -1) {
    closeKeepingErrno(fd);
    return -1;
  }
  // Only the connecting must not block; the caller's reads wait as it asked.
  const int status = (flags & O_NONBLOCK) != 0 ? 0 : fcntl(fd, F_SETFL, 0);
  if (status == -1) {
    closeKeepingErrno(fd);
    return -1;
  }
  return fd;
}

}  // namespace

int controlRuntimeDirectory(char* out, size_t size) {
  FixedText text(out, size);
  if (const char* own = environment("PPS_RUNTIME_DIR")) return text.add(own).finish();
  if (const char* users = environment("XDG_RUNTIME_DIR")) {
    return text.add(users).add("/pps").finish();
  }
  return text.add("/run/pps").finish();
}

bool isControlServiceName(const char* name, size_t length) {
  if (length == 0 || length > kNameMax) return false;
  if (name[0] == '.' && (length == 1 || (length == 2 && name[1] == '.'))) return false;
  for (size_t i = 0; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(name[i]);
    if (byte < 0x20 || byte == 0x7f || byte == '/' || byte == '?') return false;
  }
  return true;
}

int controlSocketDirectory(const char* path, char* out, size_t size) {
  errno = ENOENT;
  if (path == nullptr || strncmp(path, kPrefix, sizeof kPrefix - 1) != 0) return -1;
  const char* name = path + sizeof kPrefix - 1;
  const size_t nameLength = strcspn(name, "/");
  const char* object = name + nameLength;
  if (!isControlServiceName(name, nameLength)) return -1;
  if (strncmp(object, kObject, sizeof kObject - 1) != 0) return -1;
  const char end = object[sizeof kObject - 1];
  if (end != '\0' && end != '?') return -1;

  if (controlRuntimeDirectory(out, size) != 0) return -1;
  const size_t root = strlen(out);
  FixedText tail(out + root, size - root);
  return tail.add("/services/").add(name, nameLength).finish();
}

int connectControlSocket(const char* directory, int flags) {
  const int directoryFd = openat(AT_FDCWD, directory, O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (directoryFd == -1) return -1;
  const int fd = connectThrough(directoryFd, flags);
  closeKeepingErrno(directoryFd);
  return fd;
}

int openControlObject(const char* path, int flags) {
  char directory[PATH_MAX];
  if (controlSocketDirectory(path, directory, sizeof directory) != 0) return -1;
  const int fd = connectControlSocket(directory, flags);
  // A socket file whose service died, or a path that leads nowhere, is a missing object.
  if (fd == -1 && (errno == ECONNREFUSED || errno == ENOTDIR)) errno = ENOENT;
  return fd;
}
