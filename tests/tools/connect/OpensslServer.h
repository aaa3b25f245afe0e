#ifndef TESTS_TOOLS_CONNECT_OPENSSLSERVER_H
#define TESTS_TOOLS_CONNECT_OPENSSLSERVER_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"

// A real TLS server, `openssl s_server`, on a port of loopback that was free. The constructor
// returns when it listens; the destructor ends it and waits for it.
class OpensslServer {
 public:
  // Sends the chain, the first one being the server's own certificate. Its files go into the
  // directory. `more` are further arguments. Throws std::runtime_error when it does not listen.
  OpensslServer(const TemporaryDirectory& directory, const std::vector<TestCertificate>& chain,
                const std::vector<std::string>& more = {}, const std::string& host = "127.0.0.1");
  ~OpensslServer();
  OpensslServer(const OpensslServer&) = delete;
  OpensslServer& operator=(const OpensslServer&) = delete;

  // "127.0.0.1:40001", as trustctl takes it.
  const std::string& target() const { return target_; }
  // "40001".
  std::string port() const { return target_.substr(target_.rfind(':') + 1); }

 private:
  void awaitListening(int output);
  void end();

  pid_t pid_ = -1;
  std::string target_;
};

#endif
