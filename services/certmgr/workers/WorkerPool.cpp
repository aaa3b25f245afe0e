#include "services/certmgr/workers/WorkerPool.h"

#include <stdexcept>
#include <utility>

#include "services/certmgr/workers/WorkerMessage.h"

WorkerPool::WorkerPool(WorkerCommand command, std::chrono::seconds deadline)
    : command_(std::move(command)), deadline_(deadline) {}

std::string WorkerPool::answer(const ControlRequest& request) {
  const auto until = request.arrived + deadline_;
  if (std::chrono::steady_clock::now() >= until) {
    throw std::runtime_error("the service had no time for the request; ask again later");
  }
  std::unique_ptr<WorkerProcess> worker = take();
  std::string answer;
  try {
    answer = worker->ask(WorkerMessage{generation_, request}.encode(), until);
  } catch (const std::exception&) {
    bury(std::move(worker));
    throw;
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  idle_.push_back(std::move(worker));
  return answer;
}

// Whoever asked is not kept waiting for a process that cannot end yet.
void WorkerPool::bury(std::unique_ptr<WorkerProcess> worker) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::erase_if(dying_, [](const auto& one) { return one->tryEnd(); });
  if (!worker->tryEnd()) dying_.push_back(std::move(worker));
}

std::unique_ptr<WorkerProcess> WorkerPool::take() {
  for (;;) {
    std::unique_ptr<WorkerProcess> worker;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (idle_.empty()) break;
      worker = std::move(idle_.back());
      idle_.pop_back();
    }
    if (worker->isAlive()) return worker;
  }
  return std::make_unique<WorkerProcess>(command_);
}
