#include "tools/trustctl/connect/Socket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>
#include <vector>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/connect/Resolver.h"

namespace {

constexpr std::size_t mostReasons = 4;

struct Failure {
  std::string address;
  int error;
};

// 0 or the errno of the failure. The descriptor is left empty on failure.
int tryToConnect(const SocketAddress& address, const Deadline& deadline, FileDescriptor* out) {
  out->reset(socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (out->get() == -1) {
    return errno;
  }
  int error = 0;
  if (connect(out->get(), reinterpret_cast<const sockaddr*>(&address.storage), address.length) ==
      -1) {
    error = errno;
  }
  if (error == EINPROGRESS || error == EINTR) {
    socklen_t size = sizeof error;
    if (!deadline.await(out->get(), POLLOUT)) {
      error = ETIMEDOUT;
    } else if (getsockopt(out->get(), SOL_SOCKET, SO_ERROR, &error, &size) == -1) {
      error = errno;
    }
  }
  if (error != 0) {
    out->reset();
  }
  return error;
}

std::string adviceFor(int error, const Deadline& deadline) {
  switch (error) {
    case ECONNREFUSED:
      return "nothing listens there: check the port, and that the server runs";
    case ETIMEDOUT:
      return fmt::format(
          "check the host, the port and the firewalls between, or wait longer with {}",
          deadline.option());
    default:
      return "check the address and this machine's network";
  }
}

std::string reasonText(const Failure& failure) {
  const std::string reason = failure.error == ETIMEDOUT
                                 ? "no answer in time"
                                 : std::generic_category().message(failure.error);
  return fmt::format("{}: {}", failure.address, reason);
}

[[noreturn]] void fail(const std::string& host, int port, const Deadline& deadline,
                       const std::vector<Failure>& failures) {
  std::string reasons;
  for (std::size_t i = 0; i < failures.size() && i < mostReasons; ++i) {
    reasons += (i == 0 ? "" : ", ") + reasonText(failures[i]);
  }
  if (failures.size() > mostReasons) {
    reasons += fmt::format(" and {} more", failures.size() - mostReasons);
  }
  throw CommandError(ExitStatus::undecided,
                     fmt::format("cannot connect to '{}' port {}: {}; {}", printableText(host),
                                 port, reasons, adviceFor(failures.back().error, deadline)));
}

[[noreturn]] void failAsBroken(const std::string& server, int error) {
  throw CommandError(ExitStatus::undecided,
                     fmt::format("the connection to {} broke: {}; check the network and try again",
                                 server, std::generic_category().message(error)));
}

bool isEndOfPeer(int error) {
  return error == EPIPE || error == ECONNRESET;
}

}  // namespace

Socket::Socket(const std::string& host, int port, const Deadline& deadline) : deadline_(deadline) {
  const std::vector<SocketAddress> addresses = resolve(host, port, deadline);
  std::vector<Failure> failures;
  for (std::size_t i = 0; fd_.get() == -1 && i < addresses.size(); ++i) {
    const Deadline share = deadline.share(addresses.size() - i);
    address_ = addresses[i].text();
    const int error = tryToConnect(addresses[i], share, &fd_);
    if (error != 0) {
      failures.push_back({address_, error});
    }
  }
  if (fd_.get() == -1) {
    fail(host, port, deadline, failures);
  }
  server_ = host == address_ ? fmt::format("{} port {}", address_, port)
                             : fmt::format("{} ({}) port {}", printableText(host), address_, port);
}

void Socket::await(short events) const {
  if (!deadline_.await(fd_.get(), events)) {
    throw CommandError(
        ExitStatus::undecided,
        fmt::format("{} did not answer within {} s, {}; check that the port is the right one, or "
                    "wait longer with {}",
                    server_, deadline_.seconds(), phase_, deadline_.option()));
  }
}

void Socket::send(const void* bytes, std::size_t length) {
  const auto* rest = static_cast<const char*>(bytes);
  while (length > 0) {
    await(POLLOUT);
    const ssize_t count = ::send(fd_.get(), rest, length, MSG_NOSIGNAL);
    if (count >= 0) {
      rest += count;
      length -= static_cast<std::size_t>(count);
    } else if (isEndOfPeer(errno)) {
      return;
    } else if (errno != EAGAIN && errno != EINTR) {
      failAsBroken(server_, errno);
    }
  }
}

std::size_t Socket::receive(void* bytes, std::size_t capacity) {
  for (;;) {
    await(POLLIN);
    const ssize_t count = recv(fd_.get(), bytes, capacity, 0);
    if (count >= 0) {
      return static_cast<std::size_t>(count);
    }
    if (isEndOfPeer(errno)) {
      return 0;
    }
    if (errno != EAGAIN && errno != EINTR) {
      failAsBroken(server_, errno);
    }
  }
}
