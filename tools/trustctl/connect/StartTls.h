#ifndef TOOLS_TRUSTCTL_CONNECT_STARTTLS_H
#define TOOLS_TRUSTCTL_CONNECT_STARTTLS_H

#include <string>
#include <vector>

#include "tools/trustctl/connect/Dialogue.h"

// A protocol that begins in the clear and goes over to TLS on request.
struct StartTlsProtocol {
  const char* name;   // as --starttls takes it
  const char* title;  // as people write it
  int port;           // where its servers usually listen
  // Has the dialogue up to where TLS begins. `host` is the server's name, for protocols that
  // tell it. Fails as Dialogue does when the server offers no TLS or refuses it.
  void (*ask)(Dialogue* dialogue, const std::string& host);
};

const std::vector<StartTlsProtocol>& startTlsProtocols();

// Null for a name that is not in the table.
const StartTlsProtocol* findStartTlsProtocol(const std::string& name);

// Brings the connection to where TLS begins.
void startTls(const StartTlsProtocol& protocol, Socket* socket, const std::string& host);

// The binary ones, which stand apart.
void askLdap(Dialogue* dialogue, const std::string& host);
void askPostgres(Dialogue* dialogue, const std::string& host);

#endif
