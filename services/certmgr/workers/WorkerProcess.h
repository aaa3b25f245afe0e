#ifndef SERVICES_CERTMGR_WORKERS_WORKERPROCESS_H
#define SERVICES_CERTMGR_WORKERS_WORKERPROCESS_H

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

#include "platform/objects/ControlSocket.h"

// How a worker is started: as this very program.
struct WorkerCommand {
  std::vector<std::string> arguments;  // the program's name first; --worker-fd is added
  std::vector<int> descriptors{};      // open in the worker too, by the same numbers
};

// A process that answers requests, one at a time. Belongs to one thread at a time, and ends with
// the thread that made it.
class WorkerProcess {
 public:
  // Starts it; whether it serves shows with the first request. Throws std::runtime_error, fit for
  // an answer, when the system has no room for it.
  explicit WorkerProcess(const WorkerCommand& command);
  // Ends it, whatever it does. Waits for that unless tryEnd() was called before.
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  // False when it has ended since its last answer.
  bool isAlive() const;

  // Its answer to the message. Throws std::runtime_error, fit for an answer, when it ends without
  // one or has given none by `until`; it is of no use after that.
  std::string ask(const std::string& message, std::chrono::steady_clock::time_point until);

  // Ends it, and never waits. False while the kernel holds on to it, as it does when a file system
  // hangs: to be called again later.
  bool tryEnd();

 private:
  [[noreturn]] void failEnded();
  int end();

  OwnedFd socket_;
  pid_t process_ = -1;
  bool givenUp_ = false;
};

#endif
