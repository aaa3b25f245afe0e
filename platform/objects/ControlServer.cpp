#include "platform/objects/ControlServer.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <map>
#include <new>
#include <stdexcept>
#include <thread>
#include <utility>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/post.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <asio/thread_pool.hpp>

#include "platform/objects/ControlConnection.h"
#include "platform/objects/ControlObject.h"
#include "platform/objects/ControlSocket.h"

namespace {

constexpr int kBacklog = 128;
// How long to leave new clients in the kernel's queue when descriptors ran out.
constexpr std::chrono::milliseconds kPauseWithoutDescriptors{50};
// How long to wait for memory that somebody else has to give back.
constexpr std::chrono::milliseconds kPauseWithoutMemory{20};

ControlSocket openSocket(const ControlServerOptions& options) {
  if (options.useInheritedSocket) {
    if (auto socket = ControlSocket::inherited()) return std::move(*socket);
  }
  return ControlSocket::listen(options.runtimeDirectory, options.service, options.socketMode,
                               kBacklog);
}

ControlServerOptions completed(ControlServerOptions options) {
  if (options.runtimeDirectory.empty()) options.runtimeDirectory = defaultRuntimeDirectory();
  options.workers = std::max(1U, options.workers);
  options.maxConnections = std::max<std::size_t>(1, options.maxConnections);
  return options;
}

}  // namespace

class ControlServer::Impl {
 public:
  Impl(ControlServerOptions options, Handler handler)
      : options_(completed(std::move(options))),
        handler_(std::move(handler)),
        socket_(openSocket(options_)),
        loop_(1),
        // Asio closes what it is given, so it gets a descriptor of its own; no program that the
        // service starts gets it.
        acceptor_(loop_, ::fcntl(socket_.fd(), F_DUPFD_CLOEXEC, 0)),
        pause_(loop_),
        signals_(loop_) {}

  const ControlServerOptions& options() const { return options_; }

  void run(bool handleSignals) {
    // Held back but for the time of the loop, and in the workers altogether: one signal ends
    // the service in order, and a second one must not cut the cleaning up short.
    if (handleSignals) maskSignals(SIG_BLOCK);
    asio::thread_pool workers(options_.workers);
    workers_ = &workers;
    if (handleSignals) {
      signals_.add(SIGTERM);
      signals_.add(SIGINT);
      if (options_.hangup) signals_.add(SIGHUP);
      handlesSignals_ = true;
      waitForSignal();
      maskSignals(SIG_UNBLOCK);
    }
    waitForClient();
    announceReady(options_.readyFd);
    runLoop();
    if (handleSignals) maskSignals(SIG_BLOCK);
    workers.join();
  }

  void stop() {
    asio::post(loop_, [this] { beginShutdown(); });
  }

 private:
  // Without memory one client or another may be lost, and never the service.
  void runLoop() {
    for (bool interrupted = false;;) {
      try {
        if (interrupted) resume();
        interrupted = false;
        loop_.run();
        return;
      } catch (const std::bad_alloc&) {
        interrupted = true;
        std::this_thread::sleep_for(kPauseWithoutMemory);
      }
    }
  }

  // Waits anew for whatever may not be waited for any more.
  void resume() {
    if (stopping_) return endConnections();
    asio::error_code ignored;
    signals_.cancel(ignored);
    acceptor_.cancel(ignored);
    // After the handlers of what was cancelled.
    asio::post(loop_, [this] {
      if (handlesSignals_ && !stopping_) waitForSignal();
      waitForClient();
    });
  }

  void maskSignals(int how) const {
    sigset_t handled;
    sigemptyset(&handled);
    sigaddset(&handled, SIGTERM);
    sigaddset(&handled, SIGINT);
    if (options_.hangup) sigaddset(&handled, SIGHUP);
    pthread_sigmask(how, &handled, nullptr);
  }

  void waitForSignal() {
    signals_.async_wait([this](const asio::error_code& error, int number) {
      if (error) return;
      if (number != SIGHUP) return beginShutdown();
      options_.hangup();
      waitForSignal();
    });
  }

  void waitForClient() {
    if (stopping_ || accepting_) return;
    if (connections_.size() >= options_.maxConnections && oldestSilent() == nullptr) return;
    accepting_ = true;
    acceptor_.async_wait(asio::posix::descriptor_base::wait_read,
                         [this](const asio::error_code& error) {
                           accepting_ = false;
                           if (!error && !stopping_) acceptClient();
                         });
  }

  void acceptClient() {
    const int fd =
        ::accept4(acceptor_.native_handle(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd != -1) {
      OwnedFd client(fd);
      makeRoom();
      startConnection(std::move(client));
    } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
      return waitAwhile();
    }
    waitForClient();
  }

  // Clients that say nothing must not keep out those that would.
  void makeRoom() {
    if (connections_.size() < options_.maxConnections) return;
    if (const auto silent = oldestSilent()) silent->close();
  }

  std::shared_ptr<ControlConnection> oldestSilent() const {
    for (const auto& [number, connection] : connections_) {
      if (connection->isSilent()) return connection;
    }
    return nullptr;
  }

  void waitAwhile() {
    pause_.expires_after(kPauseWithoutDescriptors);
    pause_.async_wait([this](const asio::error_code& error) {
      if (!error) waitForClient();
    });
  }

  void startConnection(OwnedFd client) {
    ControlConnection::Hooks hooks;
    hooks.requested = [this](std::shared_ptr<ControlConnection> connection,
                             ControlRequest request) {
      dispatch(std::move(connection), std::move(request));
    };
    const std::uint64_t number = nextNumber_++;
    hooks.closed = [this, number] {
      connections_.erase(number);
      waitForClient();
    };
    std::shared_ptr<ControlConnection> connection;
    try {
      connection = std::make_shared<ControlConnection>(loop_, client.get(), std::move(hooks));
    } catch (const std::exception&) {
      return;  // the event loop cannot watch one more
    }
    client.release();
    try {
      connections_.emplace(number, connection);
      connection->start(options_.maxRequestBytes, options_.idleLimit);
    } catch (const std::bad_alloc&) {
      connection->close();
    }
  }

  struct Exchange {
    std::shared_ptr<ControlConnection> connection;
    ControlRequest request;
    std::string answer{};  // empty when there is no memory even for an error, or no client
  };

  void dispatch(std::shared_ptr<ControlConnection> connection, ControlRequest request) {
    auto exchange = std::make_shared<Exchange>(Exchange{std::move(connection), std::move(request)});
    // The connection's own operations keep the loop running until it has its answer.
    asio::post(*workers_, [this, exchange = std::move(exchange),
                           work = asio::make_work_guard(loop_)]() mutable {
      try {
        // Nobody waits for the answer to what stood in the queue for a client that left.
        if (!exchange->connection->isGone()) {
          exchange->answer = answerWith(handler_, exchange->request);
        }
      } catch (const std::bad_alloc&) {
        exchange->answer.clear();
      }
      deliver(exchange);
    });
  }

  // On a worker. Until the loop has heard of it the client would wait.
  void deliver(const std::shared_ptr<Exchange>& exchange) {
    for (;;) {
      try {
        return asio::post(loop_, [exchange] {
          const std::shared_ptr<ControlConnection> connection = std::move(exchange->connection);
          if (exchange->answer.empty()) return connection->close();
          connection->answer(std::move(exchange->answer));
        });
      } catch (const std::bad_alloc&) {
        std::this_thread::sleep_for(kPauseWithoutMemory);
      }
    }
  }

  void beginShutdown() {
    if (std::exchange(stopping_, true)) return;
    asio::error_code ignored;
    signals_.cancel(ignored);
    pause_.cancel();
    acceptor_.close(ignored);
    socket_.unlink();
    endConnections();
  }

  void endConnections() {
    const auto connections = connections_;  // closing changes the set
    for (const auto& [number, connection] : connections) connection->beginShutdown();
  }

  ControlServerOptions options_;
  Handler handler_;
  ControlSocket socket_;
  asio::io_context loop_;
  asio::posix::stream_descriptor acceptor_;
  asio::steady_timer pause_;
  asio::signal_set signals_;
  asio::thread_pool* workers_ = nullptr;
  std::map<std::uint64_t, std::shared_ptr<ControlConnection>> connections_;  // oldest first
  std::uint64_t nextNumber_ = 0;
  bool accepting_ = false;
  bool stopping_ = false;
  bool handlesSignals_ = false;
};

ControlServer::ControlServer(ControlServerOptions options, Handler handler)
    : impl_(std::make_shared<Impl>(std::move(options), std::move(handler))) {}

ControlServer::~ControlServer() = default;

void ControlServer::run(bool handleSignals) {
  impl_->run(handleSignals);
}

void ControlServer::stop() {
  impl_->stop();
}

const std::string& ControlServer::runtimeDirectory() const {
  return impl_->options().runtimeDirectory;
}

std::string answerWith(const ControlServer::Handler& handler, const ControlRequest& request) {
  try {
    std::string answer = handler(request);
    if (answer.size() <= ControlServer::kMaxAnswerBytes) return answer;
    return makeErrorAnswer("the answer is longer than " +
                           std::to_string(ControlServer::kMaxAnswerBytes) + " bytes");
  } catch (const std::bad_alloc&) {
    return makeErrorAnswer("there is not enough memory for the request; ask again later");
  } catch (const std::exception& failure) {
    return makeErrorAnswer(failure.what());
  } catch (...) {
    return makeErrorAnswer("the request failed for a reason that has no text");
  }
}

std::string makeErrorAnswer(const std::string& text) {
  std::string answer = "err::" + text.substr(0, ControlServer::kMaxAnswerBytes / 2);
  // A control byte would end the attribute, or the text.
  std::replace_if(
      answer.begin(), answer.end(),
      [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }, ' ');
  return answer + "\n";
}

void announceReady(int fd) {
  if (fd < 0) return;
  constexpr char kLine[] = "READY\n";
  // A plain write, since the descriptor may be a pipe; SIGPIPE is kept from killing us.
  auto* const before = std::signal(SIGPIPE, SIG_IGN);
  const ssize_t ignored = ::write(fd, kLine, sizeof kLine - 1);
  (void)ignored;
  (void)std::signal(SIGPIPE, before);
  ::close(fd);
}

std::string defaultRuntimeDirectory() {
  char directory[PATH_MAX];
  if (controlRuntimeDirectory(directory, sizeof directory) != 0) {
    throw std::runtime_error("the path of the runtime directory is too long");
  }
  return directory;
}
