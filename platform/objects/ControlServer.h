#ifndef PLATFORM_OBJECTS_CONTROLSERVER_H
#define PLATFORM_OBJECTS_CONTROLSERVER_H

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "platform/objects/ControlRequest.h"

struct ControlServerOptions {
  std::string service;           // NAME in /pps/services/NAME/control
  std::string runtimeDirectory;  // empty: where clients of this environment look
  unsigned workers = 2;          // handlers that run at once; at least 1
  std::size_t maxRequestBytes = 64 * 1024;
  // When all are taken, the one that has waited longest without a request makes room; when
  // all have asked, further clients wait in the kernel's queue.
  std::size_t maxConnections = 128;
  std::chrono::milliseconds idleLimit{30000};  // for a client that connects and never writes
  mode_t socketMode = 0666;
  bool useInheritedSocket = true;  // take a socket from systemd when there is one
  int readyFd = -1;                // run() calls announceReady() on it
  // Called for each SIGHUP by the thread of run() when that handles signals; must be short.
  // Empty: SIGHUP is left alone.
  std::function<void()> hangup{};
};

// Serves one control object: one request and one answer a connection. Clients are
// read by one event loop, so a silent one holds no worker; handlers run on workers, and
// not for a client that has gone by then.
//
// An answer is `err::<text>` in place of the handler's when the request is too
// large, the handler throws, or the answer is longer than kMaxAnswerBytes.
class ControlServer {
 public:
  // The longest answer that a client of the library reads without cutting it.
  static constexpr std::size_t kMaxAnswerBytes = 16383;

  // Called on several workers at once; returns the answer.
  using Handler = std::function<std::string(const ControlRequest&)>;

  // Listens when it returns; clients are served by run().
  // Throws std::runtime_error with a text for the person who started the service.
  ControlServer(ControlServerOptions options, Handler handler);
  // Removes the socket and the directories it made, as far as they are empty.
  ~ControlServer();

  // Serves until stop(), or SIGTERM or SIGINT when `handleSignals`; those, and SIGHUP
  // where it is handled, may be blocked before, so that none is lost, are unblocked
  // here, and stay blocked after, so that a second one does not cut the caller's
  // cleaning up short. Then takes no
  // more requests, cancels and awaits those that were taken, delivers their answers,
  // and returns. Call it once.
  void run(bool handleSignals = true);

  // Makes run() return; from any thread, also before run().
  void stop();

  // Where this service's files are: RUNTIME of the socket it listens on.
  const std::string& runtimeDirectory() const;

 private:
  class Impl;
  std::shared_ptr<Impl> impl_;
};

// The handler's answer as ControlServer sends it: failures become texts, see there.
std::string answerWith(const ControlServer::Handler& handler, const ControlRequest& request);

// The attribute text of a failure, `err::<text>`, on one line.
std::string makeErrorAnswer(const std::string& text);

// Tells who waits for the service that it is ready: writes a line to `fd` and
// closes it. Nothing for -1; a reader that has gone is no error.
void announceReady(int fd);

// The runtime directory of this environment; see controlRuntimeDirectory().
// Throws std::runtime_error when its path is too long.
std::string defaultRuntimeDirectory();

#endif
