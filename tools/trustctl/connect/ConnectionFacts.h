#ifndef TOOLS_TRUSTCTL_CONNECT_CONNECTIONFACTS_H
#define TOOLS_TRUSTCTL_CONNECT_CONNECTIONFACTS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

// What an OCSP answer says that the server sent along with its certificate. Shown only: the
// verdict does not follow it.
struct StapledAnswer {
  enum class Status { none, good, revoked, unknown, unusable };
  // Whether the answer is signed by the issuer of the server's certificate, or by who the issuer
  // entrusted with that; unchecked where the server did not send the issuer.
  enum class Signature { valid, invalid, unchecked };

  Status status = Status::none;
  std::string problem;                     // unusable: why, in words of our own
  std::optional<std::int64_t> thisUpdate;  // seconds since 1970; nothing where it is no time
  std::optional<std::int64_t> nextUpdate;  // likewise, and where the answer names none
  std::optional<std::int64_t> revokedAt;   // likewise; revoked only
  Signature signature = Signature::unchecked;
};

// What a report says about a connection besides the verdict on its chain. Nothing is escaped.
struct ConnectionFacts {
  std::string host;     // as typed, without the port
  std::string address;  // numeric, what was connected to
  int port = 0;
  std::string startTls;  // protocol that led to TLS, as --starttls names it; empty for none
  std::string protocol;  // "TLSv1.3"
  std::string cipher;
  std::string alpn;                 // the agreed one; empty for none
  bool askedAlpn = false;           // one was proposed
  bool asksForCertificate = false;  // the server wants one of the client
  bool needsCertificate = false;    // and ended the handshake as there was none
  std::size_t certificates = 0;     // sent by the server
  bool bearsAddress = false;  // the host is an address that stands in the server's certificate
  StapledAnswer stapled;
};

#endif
