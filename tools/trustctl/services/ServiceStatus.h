#ifndef TOOLS_TRUSTCTL_SERVICES_SERVICESTATUS_H
#define TOOLS_TRUSTCTL_SERVICES_SERVICESTATUS_H

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Where programs of this environment look for services.
struct RuntimePlace {
  std::string directory;
  const char* source;  // "PPS_RUNTIME_DIR", "XDG_RUNTIME_DIR" or "default"
};

// The place in use first, then those that it keeps from being looked at. Throws CommandError
// (undecided) when a path is too long.
std::vector<RuntimePlace> runtimePlaces();

enum class ServiceState {
  absent,     // nothing there
  answering,  // it runs and answers
  silent,     // it runs, and does not answer in time, or closes without an answer
  refused,    // it cannot be asked: this user may not, or it takes no more clients
  stale       // the socket of a service that died
};

// The process behind a control object, as the kernel tells it.
struct ServicePeer {
  pid_t process = 0;
  std::string user;
  std::optional<std::string> program;  // not escaped
  std::optional<std::int64_t> since;   // seconds since 1970
};

struct ServiceStatus {
  ServiceState state = ServiceState::absent;
  std::string object;                     // the path of its control object
  std::string problem;                    // what is wrong: silent, refused
  std::optional<ServicePeer> peer;        // of one that takes clients
  std::optional<int> answerMicroseconds;  // how long the answer took
};

// Looks for the service "certmgr" or "dialog" below a directory and asks it something that no
// service knows, which costs it an error and shows nobody anything. Waits for the answer for at
// most so many seconds. Throws CommandError (undecided) when this program cannot ask, and
// Interrupted on a signal.
ServiceStatus askService(const std::string& name, const std::string& runtimeDirectory,
                         int timeoutSeconds);

#endif
