#ifndef TOOLS_TRUSTCTL_CONNECT_RESOLVER_H
#define TOOLS_TRUSTCTL_CONNECT_RESOLVER_H

#include <sys/socket.h>

#include <string>
#include <vector>

#include "tools/trustctl/connect/Deadline.h"

// An address with a port.
struct SocketAddress {
  sockaddr_storage storage = {};
  socklen_t length = 0;

  // The address as text, without the port.
  std::string text() const;
};

// The addresses of a host, name or literal, in the order the system wants them tried; at least
// one. The look-up of a name runs in a thread, as it can neither be bounded nor interrupted; when
// the deadline or a signal comes first, that thread is left to itself and ends with the process.
// Throws CommandError (undecided) when there is no such host, Interrupted on a signal. Main thread
// only.
std::vector<SocketAddress> resolve(const std::string& host, int port, const Deadline& deadline);

#endif
