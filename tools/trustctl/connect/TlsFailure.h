#ifndef TOOLS_TRUSTCTL_CONNECT_TLSFAILURE_H
#define TOOLS_TRUSTCTL_CONNECT_TLSFAILURE_H

#include <optional>
#include <string>

#include "tools/trustctl/connect/TlsSession.h"

// What a server may send as its chain.
constexpr long mostChainBytes = 100L * 1024;

// How a handshake went wrong, as far as it got.
struct TlsFailure {
  std::string firstBytes;    // what the server sent first; empty when it sent nothing
  std::optional<int> alert;  // the last one from the server
  bool closed = false;       // the server closed the connection
  bool tooLarge = false;     // it sent more than a chain has
  std::string reason;        // else: what the TLS library found
};

// The complaint about it, on that server: what failed and what to do next.
std::string describeTlsFailure(const TlsFailure& failure, const TlsRequest& request,
                               const std::string& server);

#endif
