#ifndef SERVICES_CERTMGR_WORKERS_WORKERPOOL_H
#define SERVICES_CERTMGR_WORKERS_WORKERPOOL_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/objects/ControlRequest.h"
#include "services/certmgr/workers/WorkerProcess.h"

// The worker processes of the service: as many as there are requests at once, started when they
// are first needed and kept. The one that was used last is used next, since it remembers most.
// Safe from several threads; these must live until no request is left, and the pool longer.
class WorkerPool {
 public:
  // No request takes longer than `deadline` from its arrival.
  WorkerPool(WorkerCommand command, std::chrono::seconds deadline);

  // A worker's answer. Throws std::runtime_error, fit for an answer, when there is none: the
  // worker ended, the deadline passed, or no worker can be started. Requests in other workers are
  // not touched by that, and the next request gets a worker of its own again.
  std::string answer(const ControlRequest& request);

  // Every worker reloads before its next request.
  void reload() { ++generation_; }

 private:
  std::unique_ptr<WorkerProcess> take();
  void bury(std::unique_ptr<WorkerProcess> worker);

  const WorkerCommand command_;
  const std::chrono::seconds deadline_;
  std::atomic<std::uint64_t> generation_{0};
  std::mutex mutex_;
  std::vector<std::unique_ptr<WorkerProcess>> idle_;   // the one used last at the end
  std::vector<std::unique_ptr<WorkerProcess>> dying_;  // that did not end at once
};

#endif
