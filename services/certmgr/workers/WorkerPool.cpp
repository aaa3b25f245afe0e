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
  std::string answer = worker->ask(WorkerMessage{generation_, request}.encode(), until);
  const std::lock_guard<std::mutex> lock(mutex_);
  idle_.push_back(std::move(worker));
  return answer;
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
