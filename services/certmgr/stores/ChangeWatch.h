#ifndef SERVICES_CERTMGR_STORES_CHANGEWATCH_H
#define SERVICES_CERTMGR_STORES_CHANGEWATCH_H

#include <atomic>
#include <cstdint>
#include <string>

#include "platform/objects/ControlSocket.h"

// Tells, at the cost of one system call, whether anything changed in the directories it watches.
// Safe from several threads.
class ChangeWatch {
 public:
  ChangeWatch();

  // From now on changes in `directory`, which need not exist, count. False when they cannot be
  // seen: the system has no watch left, say.
  bool watch(const std::string& directory);

  // A number that is another one after each change; one that nobody asked about in between may
  // count once only. A change that was complete before the call is seen.
  std::uint64_t changes();

 private:
  OwnedFd events_;
  std::atomic<std::uint64_t> changes_{0};
};

#endif
