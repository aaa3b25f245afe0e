#include "trustlib/util/MutexLocker.h"

#include <time.h>

#include <limits>

MutexLocker::MutexLocker(pthread_mutex_t* mutex) TRUSTLIB_THROWS(TrustManagerException)
    : mutex(mutex), locked(false) {}

MutexLocker::~MutexLocker() {
  if (locked) {
    pthread_mutex_unlock(mutex);
  }
}

int MutexLocker::lock() TRUSTLIB_THROWS(TrustManagerException) {
  const int result = pthread_mutex_lock(mutex);
  if (result == 0) {
    locked = true;
  }
  return result;
}

int MutexLocker::timedLock(int seconds) TRUSTLIB_THROWS(TrustManagerException) {
  if (seconds < 0) {
    return -1;
  }
  timespec deadline;
  clock_gettime(CLOCK_REALTIME, &deadline);
  // Where time_t has 32 bits a long wait ends with the clock, not before it began.
  const time_t latest = std::numeric_limits<time_t>::max();
  deadline.tv_sec = seconds < latest - deadline.tv_sec ? deadline.tv_sec + seconds : latest;
  const int result = pthread_mutex_timedlock(mutex, &deadline);
  if (result == 0) {
    locked = true;
  }
  return result;
}
