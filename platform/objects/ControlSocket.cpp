#include "platform/objects/ControlSocket.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "platform/objects/ControlObject.h"

namespace {

constexpr const char* kLockName = "lock";
constexpr int kFirstInheritedFd = 3;
constexpr int kAttempts = 8;

[[noreturn]] void failBecause(const std::string& what, int error) {
  throw std::runtime_error(what + ": " + std::generic_category().message(error));
}

[[noreturn]] void failOccupied(const std::string& path) {
  throw std::runtime_error("another service is already listening on " + path);
}

// Makes what is missing of `directory`, 0755 whatever the umask is.
void makeDirectories(const std::filesystem::path& directory,
                     std::vector<std::filesystem::path>& made) {
  std::filesystem::path current;
  for (const auto& part : directory) {
    current /= part;
    if (::mkdir(current.c_str(), 0755) == 0) {
      made.push_back(current);
      if (::chmod(current.c_str(), 0755) != 0) {
        failBecause("cannot set the mode of " + current.string(), errno);
      }
    } else if (errno != EEXIST && errno != EISDIR && ::access(current.c_str(), F_OK) != 0) {
      failBecause("cannot make the directory " + current.string(), errno);
    }
  }
}

// The lock, not the socket, says who owns the place: it goes with its process and
// lets two services that start together see each other. It is on a file of its own that
// nobody else can open, since whoever may list the directory could lock that.
// Empty when the file vanished.
OwnedFd lockPlace(int directory, const std::string& path) {
  OwnedFd lock(::openat(directory, kLockName, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!lock && errno == ENOENT) return lock;
  if (!lock) failBecause("cannot make the lock file beside " + path, errno);
  if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) failOccupied(path);
    failBecause("cannot lock the directory of " + path, errno);
  }
  struct stat status = {};
  // Gone from under us: the former owner just removed it.
  return ::fstat(lock.get(), &status) == 0 && status.st_nlink > 0 ? std::move(lock) : OwnedFd();
}

// Unlinks the socket of a dead service; a service that holds no lock may still live.
void clearStale(int directory, const std::string& directoryPath, const std::string& path) {
  const OwnedFd probe(connectControlSocket(directoryPath.c_str(), O_CLOEXEC));
  if (probe || errno == EAGAIN) failOccupied(path);
  if (errno == ENOENT) return;
  if (errno != ECONNREFUSED) failBecause("cannot replace " + path, errno);
  struct stat status = {};
  if (::fstatat(directory, kControlSocketName, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
      !S_ISSOCK(status.st_mode)) {
    throw std::runtime_error("cannot replace " + path + ": it is not a socket");
  }
  if (::unlinkat(directory, kControlSocketName, 0) != 0 && errno != ENOENT) {
    failBecause("cannot replace " + path, errno);
  }
}

OwnedFd bindAndListen(int directory, const std::string& path, mode_t mode, int backlog) {
  OwnedFd fd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fd) failBecause("cannot make a socket", errno);
  // Through the descriptor, because sun_path is shorter than paths may be.
  const std::string through =
      "/proc/self/fd/" + std::to_string(directory) + "/" + kControlSocketName;
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  memcpy(address.sun_path, through.c_str(), through.size() + 1);
  if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    failBecause("cannot make " + path, errno);
  }
  if (::fchmodat(directory, kControlSocketName, mode, 0) != 0) {
    failBecause("cannot set the mode of " + path, errno);
  }
  if (::listen(fd.get(), backlog) != 0) failBecause("cannot listen on " + path, errno);
  return fd;
}

long numberIn(const char* variable) {
  const char* value = getenv(variable);
  if (value == nullptr || *value == '\0') return -1;
  char* end = nullptr;
  const long number = strtol(value, &end, 10);
  return *end == '\0' ? number : -1;
}

int socketOption(int fd, int option) {
  int value = 0;
  socklen_t length = sizeof value;
  return ::getsockopt(fd, SOL_SOCKET, option, &value, &length) == 0 ? value : -1;
}

}  // namespace

OwnedFd& OwnedFd::operator=(OwnedFd&& other) noexcept {
  std::swap(fd_, other.fd_);
  return *this;
}

OwnedFd::~OwnedFd() {
  if (fd_ != -1) ::close(fd_);
}

ControlSocket ControlSocket::listen(const std::string& runtimeDirectory, const std::string& service,
                                    mode_t mode, int backlog) {
  if (!isControlServiceName(service.data(), service.size())) {
    throw std::runtime_error("not a name for a service: \"" + service + "\"");
  }
  const std::string directoryPath = runtimeDirectory + "/services/" + service;
  ControlSocket result;
  result.path_ = directoryPath + "/" + kControlSocketName;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    makeDirectories(directoryPath, result.made_);
    result.directory_ = OwnedFd(::open(directoryPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!result.directory_ && errno == ENOENT) continue;
    if (!result.directory_) failBecause("cannot open the directory " + directoryPath, errno);
    result.lock_ = lockPlace(result.directory_.get(), result.path_);
    if (!result.lock_) continue;
    clearStale(result.directory_.get(), directoryPath, result.path_);
    result.fd_ = bindAndListen(result.directory_.get(), result.path_, mode, backlog);
    return result;
  }
  throw std::runtime_error("cannot make the directory " + directoryPath + ": it keeps vanishing");
}

std::optional<ControlSocket> ControlSocket::inherited() {
  const bool ours = numberIn("LISTEN_PID") == static_cast<long>(::getpid());
  const long count = numberIn("LISTEN_FDS");
  unsetenv("LISTEN_PID");
  unsetenv("LISTEN_FDS");
  unsetenv("LISTEN_FDNAMES");
  if (!ours || count < 1) return std::nullopt;

  if (socketOption(kFirstInheritedFd, SO_TYPE) != SOCK_SEQPACKET ||
      socketOption(kFirstInheritedFd, SO_DOMAIN) != AF_UNIX ||
      socketOption(kFirstInheritedFd, SO_ACCEPTCONN) != 1) {
    throw std::runtime_error("the inherited descriptor 3 is no listening AF_UNIX seqpacket socket");
  }
  ControlSocket result;
  result.fd_ = OwnedFd(kFirstInheritedFd);
  const int status = ::fcntl(kFirstInheritedFd, F_GETFL);
  if (status == -1 || ::fcntl(kFirstInheritedFd, F_SETFL, status | O_NONBLOCK) == -1 ||
      ::fcntl(kFirstInheritedFd, F_SETFD, FD_CLOEXEC) == -1) {
    failBecause("cannot use the inherited descriptor 3", errno);
  }
  return result;
}

ControlSocket::~ControlSocket() {
  unlink();
  if (lock_) ::unlinkat(directory_.get(), kLockName, 0);
  for (auto directory = made_.rbegin(); directory != made_.rend(); ++directory) {
    ::rmdir(directory->c_str());  // what others put there stays
  }
}

void ControlSocket::unlink() {
  if (!directory_ || !fd_) return;
  ::unlinkat(directory_.get(), kControlSocketName, 0);
  fd_ = OwnedFd();
}
