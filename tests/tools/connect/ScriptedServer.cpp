#include "tests/tools/connect/ScriptedServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include "services/common/OpenSslOwners.h"

namespace {

using SslContextPtr = OpenSslOwner<SSL_CTX, SSL_CTX_free>;
using SslPtr = OpenSslOwner<SSL, SSL_free>;

// Binds a new socket to a free port and says which.
int bindToLoopback(std::string* target) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* name = reinterpret_cast<sockaddr*>(&address);
  if (fd == -1 || bind(fd, name, length) == -1 || getsockname(fd, name, &length) == -1) {
    throw std::runtime_error("no free port on loopback");
  }
  *target = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  return fd;
}

// In this thread only: what the test starts would inherit that a signal is ignored.
void blockBrokenPipes() {
  sigset_t brokenPipe;
  sigemptyset(&brokenPipe);
  sigaddset(&brokenPipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
}

}  // namespace

void ScriptedPeer::send(std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t count = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) {
      return;  // the client had enough
    }
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

std::string ScriptedPeer::receive(std::size_t count) const {
  std::string bytes(count, '\0');
  std::size_t have = 0;
  while (have < count) {
    const ssize_t more = recv(fd_, bytes.data() + have, count - have, 0);
    if (more <= 0) {
      break;
    }
    have += static_cast<std::size_t>(more);
  }
  bytes.resize(have);
  return bytes;
}

void ScriptedPeer::expect(std::string_view bytes) const {
  EXPECT_EQ(bytes, receive(bytes.size()));
}

void ScriptedPeer::awaitEnd() const {
  char piece[4096];
  while (recv(fd_, piece, sizeof piece, 0) > 0) {
  }
}

void ScriptedPeer::serveTls(const std::vector<TestCertificate>& chain) const {
  const SslContextPtr context(SSL_CTX_new(TLS_server_method()));
  ASSERT_EQ(1, SSL_CTX_use_certificate(context.get(), chain.front().get()));
  ASSERT_EQ(1, SSL_CTX_use_PrivateKey(context.get(), chain.front().key().get()));
  for (std::size_t i = 1; i < chain.size(); ++i) {
    ASSERT_EQ(1, SSL_CTX_add1_chain_cert(context.get(), chain[i].get()));
  }
  const SslPtr ssl(SSL_new(context.get()));
  ASSERT_EQ(1, SSL_set_fd(ssl.get(), fd_));
  EXPECT_EQ(1, SSL_accept(ssl.get())) << "the handshake failed";
  awaitEnd();
}

ScriptedServer::ScriptedServer(std::function<void(const ScriptedPeer&)> script)
    : listener_(bindToLoopback(&target_)) {
  if (listen(listener_, 1) == -1) {
    throw std::runtime_error("cannot listen on " + target_);
  }
  thread_ = std::thread([this, script = std::move(script)] {
    blockBrokenPipes();
    const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client != -1) {
      script(ScriptedPeer(client));
      close(client);
    }
  });
}

ScriptedServer::~ScriptedServer() {
  shutdown(listener_, SHUT_RDWR);  // ends a wait for a client that never came
  thread_.join();
  close(listener_);
}

DeafPort::DeafPort() : socket_(bindToLoopback(&target_)) {}

DeafPort::~DeafPort() {
  close(socket_);
}

CrowdedPort::CrowdedPort() {
  constexpr int crowd = 8;
  const int listener = bindToLoopback(&target_);
  sockets_.push_back(listener);
  sockaddr_in address{};
  socklen_t length = sizeof address;
  auto* name = reinterpret_cast<sockaddr*>(&address);
  if (listen(listener, 0) == -1 || getsockname(listener, name, &length) == -1) {
    throw std::runtime_error("cannot listen on " + target_);
  }
  for (int i = 0; i < crowd; ++i) {
    sockets_.push_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    (void)connect(sockets_.back(), name, length);  // the first ones succeed, the others wait
  }
}

CrowdedPort::~CrowdedPort() {
  for (const int fd : sockets_) {
    close(fd);
  }
}
