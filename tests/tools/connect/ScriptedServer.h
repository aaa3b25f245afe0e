#ifndef TESTS_TOOLS_CONNECT_SCRIPTEDSERVER_H
#define TESTS_TOOLS_CONNECT_SCRIPTEDSERVER_H

#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/CertificateMaker.h"

// A server's end of one connection.
class ScriptedPeer {
 public:
  explicit ScriptedPeer(int fd) : fd_(fd) {}

  void send(std::string_view bytes) const;

  // Exactly so many bytes; fewer when the client closes.
  std::string receive(std::size_t count) const;

  // Reads as many bytes as are expected; the test fails when they are others.
  void expect(std::string_view bytes) const;

  // Reads whatever comes until the client closes.
  void awaitEnd() const;

  // Is a TLS server from now on, which sends the chain, and ends when the client does.
  void serveTls(const std::vector<TestCertificate>& chain) const;

 private:
  int fd_;
};

// A server on a free port of loopback whose every word is in the test. It serves one client, in a
// thread of its own; the destructor waits for the end of the script.
class ScriptedServer {
 public:
  explicit ScriptedServer(std::function<void(const ScriptedPeer&)> script);
  ~ScriptedServer();
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;

  // "127.0.0.1:40001".
  const std::string& target() const { return target_; }

 private:
  std::string target_;
  int listener_;
  std::thread thread_;
};

// A port of loopback that is taken while the object lives, and where nobody listens.
class DeafPort {
 public:
  DeafPort();
  ~DeafPort();
  DeafPort(const DeafPort&) = delete;
  DeafPort& operator=(const DeafPort&) = delete;

  const std::string& target() const { return target_; }

 private:
  std::string target_;
  int socket_;
};

// A port of loopback where a server listens, but so many wait for it already that it does not
// answer one more.
class CrowdedPort {
 public:
  CrowdedPort();
  ~CrowdedPort();
  CrowdedPort(const CrowdedPort&) = delete;
  CrowdedPort& operator=(const CrowdedPort&) = delete;

  const std::string& target() const { return target_; }

 private:
  std::string target_;
  std::vector<int> sockets_;
};

#endif
