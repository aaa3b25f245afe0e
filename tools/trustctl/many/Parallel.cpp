#include "tools/trustctl/many/Parallel.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <vector>

#include "tools/trustctl/Interruption.h"

namespace {

constexpr std::size_t furthestAhead = 256;
constexpr std::chrono::milliseconds betweenLooks{100};

class Crew {
 public:
  Crew(std::size_t count, std::size_t threads, const std::function<void(std::size_t)>& work)
      : count_(count), work_(work) {
    workers_.reserve(threads);
    for (std::size_t i = 0; i < threads; ++i) {
      try {
        workers_.emplace_back([this] { run(); });
      } catch (const std::system_error&) {
        if (workers_.empty()) {
          throw;
        }
        break;  // fewer do it as well
      }
    }
  }

  // A worker may be waiting for a service; the signal, which the main thread handles, ends that.
  ~Crew() {
    std::unique_lock lock(mutex_);
    count_ = next_;
    changed_.notify_all();
    while (ended_ < workers_.size()) {
      for (std::thread& worker : workers_) {
        if (Interruption::signalNumber() != 0) {
          pthread_kill(worker.native_handle(), SIGALRM);
        }
      }
      changed_.wait_for(lock, betweenLooks);
    }
    lock.unlock();
    for (std::thread& worker : workers_) {
      worker.join();
    }
  }

  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;

  // Returns when that piece is done.
  void await(std::size_t index, const std::function<void()>& idle) {
    std::unique_lock lock(mutex_);
    told_ = index;
    changed_.notify_all();
    while (done_.erase(index) == 0) {
      changed_.wait_for(lock, betweenLooks);
      lock.unlock();
      Interruption::check();
      idle();
      lock.lock();
    }
  }

 private:
  void run() {
    std::unique_lock lock(mutex_);
    try {
      for (;;) {
        changed_.wait(lock, [this] { return next_ >= count_ || next_ < told_ + furthestAhead; });
        if (next_ >= count_) {
          break;
        }
        const std::size_t index = next_++;
        lock.unlock();
        work_(index);
        lock.lock();
        done_.insert(index);
        changed_.notify_all();
      }
    } catch (const Interrupted&) {
      lock.lock();
    }
    ++ended_;
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t count_;
  std::size_t next_ = 0;
  std::size_t told_ = 0;
  std::size_t ended_ = 0;
  std::set<std::size_t> done_;
  const std::function<void(std::size_t)>& work_;
  std::vector<std::thread> workers_;  // last: they use all of the above
};

}  // namespace

void inParallel(std::size_t count, std::size_t threads,
                const std::function<void(std::size_t)>& work,
                const std::function<void(std::size_t)>& tell, const std::function<void()>& idle) {
  Crew crew(count, std::min(count, threads), work);
  for (std::size_t index = 0; index < count; ++index) {
    crew.await(index, idle);
    tell(index);
  }
}
