#ifndef SERVICES_CERTMGR_PATH_MOMENT_H
#define SERVICES_CERTMGR_PATH_MOMENT_H

#include <algorithm>
#include <cstdint>
#include <limits>

// The point in time that one evaluation is about, in seconds since 1970, and a record of the
// dates it was compared with: as long as none of them is crossed, another evaluation of the
// same input comes out the same. For one thread.
class Moment {
 public:
  explicit Moment(std::int64_t now) : now_(now) {}

  std::int64_t now() const { return now_; }

  // Whether `date` is now or has passed.
  bool hasReached(std::int64_t date) {
    const bool reached = now_ >= date;
    if (reached) {
      from_ = std::max(from_, date);
    } else {
      until_ = std::min(until_, date);
    }
    return reached;
  }

  // Every answer would have been the same at any moment in [from, until).
  std::int64_t from() const { return from_; }
  std::int64_t until() const { return until_; }

 private:
  std::int64_t now_;
  std::int64_t from_ = std::numeric_limits<std::int64_t>::min();
  std::int64_t until_ = std::numeric_limits<std::int64_t>::max();
};

#endif
