#include "platform/objects/ControlConnection.h"

#include <sys/socket.h>

#include <cerrno>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include <asio/error.hpp>

#include "platform/objects/ControlServer.h"

namespace {

bool wouldBlock(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

// Messages that nobody will read. A socket closed with some left would make the
// kernel reset the connection, and the client would lose its answer.
void discardInput(int fd) {
  constexpr int kMost = 64;
  char byte = 0;
  ssize_t length = 1;
  for (int i = 0; i < kMost && length > 0; ++i) {
    length = ::recv(fd, &byte, sizeof byte, MSG_DONTWAIT);
  }
}

// The groups that the client had when it connected; systems before them tell of none.
std::optional<std::vector<gid_t>> groupsOfPeer(int fd) {
#ifdef SO_PEERGROUPS
  std::vector<gid_t> groups(32);  // as many as most users have; the kernel says when it is more
  for (int attempt = 0; attempt < 2; ++attempt) {
    auto length = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
    const bool known = ::getsockopt(fd, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &length) == 0;
    if (!known && errno != ERANGE) break;
    groups.resize(length / sizeof(gid_t));
    if (known) return groups;
  }
#else
  (void)fd;
#endif
  return std::nullopt;
}

}  // namespace

ControlConnection::ControlConnection(asio::io_context& loop, int fd, Hooks hooks)
    : idle_(loop), hooks_(std::move(hooks)), descriptor_(loop, fd) {}

void ControlConnection::start(std::size_t maxRequestBytes, std::chrono::milliseconds idleLimit) {
  idle_.expires_after(idleLimit);
  idle_.async_wait([self = shared_from_this()](const asio::error_code& error) {
    if (!error && !self->asked_) self->close();
  });
  waitForRequest(maxRequestBytes);
}

void ControlConnection::waitForRequest(std::size_t maxRequestBytes) {
  descriptor_.async_wait(
      asio::posix::descriptor_base::wait_read,
      [self = shared_from_this(), maxRequestBytes](const asio::error_code& error) {
        if (error) return self->close();
        try {
          self->takeRequest(maxRequestBytes);
        } catch (const std::bad_alloc&) {
          self->close();
        }
      });
}

void ControlConnection::takeRequest(std::size_t maxRequestBytes) {
  std::string text(maxRequestBytes, '\0');
  // With MSG_TRUNC the result is the length of the message, not of what fitted.
  const ssize_t length =
      ::recv(descriptor_.native_handle(), text.data(), text.size(), MSG_DONTWAIT | MSG_TRUNC);
  if (length < 0 && wouldBlock(errno)) return waitForRequest(maxRequestBytes);
  if (length < 0) return close();
  asked_ = true;
  idle_.cancel();
  // A client that has gone reads as empty too; sending to it just closes.
  if (length == 0) return answer(makeErrorAnswer("the request is empty"));
  if (static_cast<std::size_t>(length) > maxRequestBytes) {
    return answer(makeErrorAnswer("the request is longer than " + std::to_string(maxRequestBytes) +
                                  " bytes"));
  }
  text.resize(static_cast<std::size_t>(length));
  watchForHangup();
  hooks_.requested(shared_from_this(), describeRequest(std::move(text)));
}

ControlRequest ControlConnection::describeRequest(std::string text) const {
  ControlRequest request;
  request.text = std::move(text);
  request.arrived = std::chrono::steady_clock::now();
  request.cancelled = cancellation_.get_token();
  ucred peer = {};
  socklen_t length = sizeof peer;
  // native_handle() is not const, though asking changes nothing.
  const int fd = const_cast<asio::posix::stream_descriptor&>(descriptor_).native_handle();
  if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0) {
    request.pid = peer.pid;
    request.uid = peer.uid;
    request.gid = peer.gid;
    request.groups = groupsOfPeer(fd);
  }
  return request;
}

// Waits for the error condition, which a hang-up raises and a further message does
// not: waiting for input would spin on a client that writes twice.
void ControlConnection::watchForHangup() {
  descriptor_.async_wait(asio::posix::descriptor_base::wait_error,
                         [self = shared_from_this()](const asio::error_code& error) {
                           if (error) return;
                           self->gone_ = true;
                           self->cancellation_.request_stop();
                         });
}

void ControlConnection::answer(std::string text) {
  answer_ = std::move(text);
  answering_ = true;
  try {
    send();
  } catch (const std::bad_alloc&) {
    close();  // the client has to be waited for, and cannot be
  }
}

void ControlConnection::send() {
  if (!descriptor_.is_open()) return;
  const ssize_t sent = ::send(descriptor_.native_handle(), answer_.data(), answer_.size(),
                              MSG_DONTWAIT | MSG_NOSIGNAL);
  if (sent < 0 && wouldBlock(errno)) {
    descriptor_.async_wait(asio::posix::descriptor_base::wait_write,
                           [self = shared_from_this()](const asio::error_code& error) {
                             return error ? self->close() : self->send();
                           });
    return;
  }
  close();  // delivered, or the client is not there to take it
}

bool ControlConnection::isSilent() {
  char byte = 0;
  return !asked_ &&
         ::recv(descriptor_.native_handle(), &byte, sizeof byte, MSG_DONTWAIT | MSG_PEEK) < 0;
}

void ControlConnection::beginShutdown() {
  if (!asked_) return close();
  if (!answering_) cancellation_.request_stop();
}

void ControlConnection::close() {
  if (!descriptor_.is_open()) return;
  discardInput(descriptor_.native_handle());
  idle_.cancel();
  asio::error_code ignored;
  descriptor_.close(ignored);
  hooks_.closed();
}
