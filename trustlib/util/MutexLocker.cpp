#include "trustlib/util/MutexLocker.h"

#include <time.h>

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
  deadline.tv_sec += seconds;
  const int result = pthread_mutex_timedlock(mutex, &deadline);
  if (result == 0) {
    locked = true;
  }
  return result;
}
