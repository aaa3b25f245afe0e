#ifndef SERVICES_CERTMGR_PATH_BUDGET_H
#define SERVICES_CERTMGR_PATH_BUDGET_H

#include <cstdint>

// What one evaluation may cost. It is counted in units of work, one being about a nanosecond
// on a processor of 2.6 GHz, and not in time: the same input then ends at the same place on
// every machine, whatever else runs there and whatever is remembered from earlier. Work that a
// cache saves is therefore charged like work that is done. For one thread.
class Budget {
 public:
  // Half of the 100 ms that a hostile chain may cost at most: the other half is for parsing.
  static constexpr std::int64_t kDefault = 50'000'000;

  explicit Budget(std::int64_t units = kDefault) : left_(units) {}

  // False, now and from now on, when there is not that much left: whoever asks then gives up.
  bool spend(std::int64_t units) {
    if (left_ < units) left_ = -1;
    if (left_ >= 0) left_ -= units;
    return left_ >= 0;
  }
  bool isSpent() const { return left_ < 0; }

 private:
  std::int64_t left_;
};

#endif
