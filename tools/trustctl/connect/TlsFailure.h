#ifndef TOOLS_TRUSTCTL_CONNECT_TLSFAILURE_H
#define TOOLS_TRUSTCTL_CONNECT_TLSFAILURE_H

#include <optional>
#include <string>

#include "tools/trustctl/connect/TlsSession.h"

// How a handshake went wrong, as far as it got.
struct TlsFailure {
  std::string firstBytes;    // what the server sent first; empty when it sent nothing
  std::optional<int> alert;  // the last one from the server
  bool closed = false;       // the server closed the connection
  std::string reason;        // else: what the TLS library found
};

// The complaint about it, on that server: what failed and what to do next.
std::string describeTlsFailure(const TlsFailure& failure, const TlsRequest& request,
                               const std::string& server);

#endif
