#ifndef TOOLS_TRUSTCTL_CONNECT_SOCKET_H
#define TOOLS_TRUSTCTL_CONNECT_SOCKET_H

#include <cstddef>
#include <string>

#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/connect/Deadline.h"

// A TCP connection to a server whose every wait ends by one deadline. All operations throw
// CommandError (undecided) when the time is up, telling what was going on, and Interrupted on a
// signal. Main thread only.
class Socket {
 public:
  // Looks the host up and tries its addresses one after the other; each gets its share of the
  // time, so that one that is silent does not cost the others. Throws CommandError (undecided)
  // with every address's reason when there is no connection.
  Socket(const std::string& host, int port, const Deadline& deadline);

  // The numeric address of the server.
  const std::string& address() const { return address_; }

  // The server in messages: "example.org (192.0.2.1) port 443".
  const std::string& server() const { return server_; }

  // What goes on from now on, for messages: "during the TLS handshake".
  void enter(const std::string& phase) { phase_ = phase; }

  // Sends all of it. A server that is gone is no failure here: what it said last can still be
  // received.
  void send(const void* bytes, std::size_t length);

  // Receives at least one byte and at most `capacity`; 0 when the server closed the connection,
  // be it by a reset.
  std::size_t receive(void* bytes, std::size_t capacity);

 private:
  void await(short events) const;

  Deadline deadline_;
  FileDescriptor fd_;
  std::string address_;
  std::string server_;
  std::string phase_;
};

#endif
