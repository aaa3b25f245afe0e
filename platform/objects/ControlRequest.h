#ifndef PLATFORM_OBJECTS_CONTROLREQUEST_H
#define PLATFORM_OBJECTS_CONTROLREQUEST_H

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

// One request as a handler sees it.
struct ControlRequest {
  // The bytes the client wrote; never empty.
  std::string text;
  // Who connected, as the kernel knows it; -1 where it does not.
  pid_t pid = -1;
  uid_t uid = static_cast<uid_t>(-1);
  gid_t gid = static_cast<gid_t>(-1);
  // Its supplementary groups; nothing where the kernel does not tell them.
  std::optional<std::vector<gid_t>> groups{};
  // When its text had come.
  std::chrono::steady_clock::time_point arrived{};
  // Asked to stop when the client has gone or the service is being stopped: a
  // handler that waits for something (a user, say) should then give up. Callbacks
  // registered here run on the server's own thread and must be short.
  std::stop_token cancelled;
};

#endif
