#ifndef PLATFORM_OBJECTS_CONTROLSOCKET_H
#define PLATFORM_OBJECTS_CONTROLSOCKET_H

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Owns a descriptor; -1 when empty.
class OwnedFd {
 public:
  explicit OwnedFd(int fd = -1) : fd_(fd) {}
  OwnedFd(OwnedFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  OwnedFd& operator=(OwnedFd&& other) noexcept;
  ~OwnedFd();

  int get() const { return fd_; }
  int release() { return std::exchange(fd_, -1); }
  explicit operator bool() const { return fd_ != -1; }

 private:
  int fd_;
};

// The listening socket of a service and its place in the runtime directory.
class ControlSocket {
 public:
  // Listens on RUNTIME/services/NAME/control. Makes missing directories with mode
  // 0755 and the socket with `mode`, whatever the umask is. Replaces the socket of a
  // dead service. Throws std::runtime_error: a name that cannot be one, a living
  // service at that place ("another service is already listening on ..."), or the
  // system's reason.
  static ControlSocket listen(const std::string& runtimeDirectory, const std::string& service,
                              mode_t mode, int backlog);

  // Takes over the first listening socket that systemd (LISTEN_PID, LISTEN_FDS)
  // hands to this process and clears those variables; nothing when there is none.
  // Throws std::runtime_error when it is no listening seqpacket socket.
  // Call it before other threads exist.
  static std::optional<ControlSocket> inherited();

  // Closes, and removes the lock file, and the directories that listen() made as far as they are
  // empty.
  ~ControlSocket();
  ControlSocket(ControlSocket&&) = default;
  ControlSocket& operator=(ControlSocket&&) = delete;

  int fd() const { return fd_.get(); }

  // Takes the socket out of the directory, so that no new client finds it. An
  // inherited one stays, since it belongs to who made it.
  void unlink();

 private:
  ControlSocket() = default;

  OwnedFd fd_;
  OwnedFd directory_;  // empty when inherited
  OwnedFd lock_;       // a file in it, locked as long as the service lives; empty when inherited
  std::string path_;
  std::vector<std::filesystem::path> made_;  // outermost first
};

#endif
