#ifndef PLATFORM_OBJECTS_CONTROLCONNECTION_H
#define PLATFORM_OBJECTS_CONTROLCONNECTION_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/steady_timer.hpp>

#include "platform/objects/ControlRequest.h"

// One client of a ControlServer, from its connection to the answer. Every method but isGone()
// belongs to the event loop's thread; pending operations keep the object alive.
class ControlConnection : public std::enable_shared_from_this<ControlConnection> {
 public:
  struct Hooks {
    // A whole request arrived; answer() is due once.
    std::function<void(std::shared_ptr<ControlConnection>, ControlRequest)> requested;
    // The connection is closed; called exactly once.
    std::function<void()> closed;
  };

  // Takes over the non-blocking descriptor, unless it throws.
  ControlConnection(asio::io_context& loop, int fd, Hooks hooks);

  void start(std::size_t maxRequestBytes, std::chrono::milliseconds idleLimit);
  void answer(std::string text);
  // Whether the client has not sent anything yet, not even what still waits to be read.
  bool isSilent();
  // Whether the client hung up after its request. From any thread.
  bool isGone() const { return gone_; }
  void close();
  // The server is stopping: closes a client that has not asked anything yet, and
  // cancels the handler of one that has.
  void beginShutdown();

 private:
  void waitForRequest(std::size_t maxRequestBytes);
  void takeRequest(std::size_t maxRequestBytes);
  void watchForHangup();
  void send();
  ControlRequest describeRequest(std::string text) const;

  asio::steady_timer idle_;
  Hooks hooks_;
  std::stop_source cancellation_;
  std::string answer_;
  std::atomic<bool> gone_{false};
  bool asked_ = false;
  bool answering_ = false;
  // The last, so that nothing can fail once the descriptor is taken over.
  asio::posix::stream_descriptor descriptor_;
};

#endif
