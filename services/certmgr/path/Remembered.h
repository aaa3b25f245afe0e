#ifndef SERVICES_CERTMGR_PATH_REMEMBERED_H
#define SERVICES_CERTMGR_PATH_REMEMBERED_H

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

// A bounded memory: keeps at least the latest entries of a weight of `capacity` and at most twice
// as much, in two halves of which the older is forgotten as a whole when the younger is full.
// Cheaper than keeping an order of use. Safe from several threads.
template <class Value>
class Remembered {
 public:
  explicit Remembered(std::size_t capacity) : capacity_(capacity) {}

  std::optional<Value> find(const std::string& key) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const Half* half : {&latest_, &earlier_}) {
      const auto found = half->find(key);
      if (found != half->end()) return found->second;
    }
    return {};
  }

  void keep(const std::string& key, Value value, std::size_t weight = 1) {
    if (weight > capacity_) return;
    Half forgotten;  // freed after the lock
    const std::lock_guard<std::mutex> lock(mutex_);
    if (weight_ + weight > capacity_) {
      forgotten = std::exchange(earlier_, std::exchange(latest_, {}));
      weight_ = 0;
    }
    latest_.insert_or_assign(key, std::move(value));
    weight_ += weight;
  }

  void clear() {
    Half latest;
    Half earlier;
    const std::lock_guard<std::mutex> lock(mutex_);
    latest.swap(latest_);
    earlier.swap(earlier_);
    weight_ = 0;
  }

 private:
  using Half = std::unordered_map<std::string, Value>;

  const std::size_t capacity_;
  mutable std::mutex mutex_;
  Half latest_;
  Half earlier_;
  std::size_t weight_ = 0;  // of latest_
};

#endif
