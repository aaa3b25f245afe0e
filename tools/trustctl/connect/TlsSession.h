#ifndef TOOLS_TRUSTCTL_CONNECT_TLSSESSION_H
#define TOOLS_TRUSTCTL_CONNECT_TLSSESSION_H

#include <string>
#include <vector>

#include "services/common/CertificateDer.h"
#include "tools/trustctl/connect/Socket.h"

// What is asked of a TLS server.
struct TlsRequest {
  std::string serverName;         // to name to the server; empty for none
  std::vector<std::string> alpn;  // to propose, best first; each of 1 to 255 bytes
};

// What a TLS server showed of itself. Texts are not escaped.
struct TlsAnswer {
  std::vector<CertificateDer> chain;   // what the server sent, in its order; not empty
  std::vector<unsigned char> stapled;  // the OCSP answer; empty for none
  std::string protocol;
  std::string cipher;
  std::string alpn;
  bool asksForCertificate = false;
  bool needsCertificate = false;  // and ended the handshake as there was none
};

// Has a handshake on the connection and says goodbye. Nothing is verified but that the server
// holds the key of its certificate (not even that where needsCertificate comes back), and old
// protocols and weak ciphers will do: this is for looking. Throws CommandError (undecided) and
// Interrupted; main thread only.
TlsAnswer askTlsServer(const TlsRequest& request, Socket* socket);

#endif
