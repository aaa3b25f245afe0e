#ifndef TRUSTLIB_UTIL_MUTEX_LOCKER_H
#define TRUSTLIB_UTIL_MUTEX_LOCKER_H

#include <pthread.h>

#include "trustlib/Export.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// Holds a mutex for one scope, once asked to: making the holder takes nothing. The mutex
// is borrowed.
class TRUSTLIB_EXPORT MutexLocker {
 public:
  explicit MutexLocker(pthread_mutex_t* mutex) TRUSTLIB_THROWS(TrustManagerException);

  // Unlocks only what lock() or timedLock() took.
  ~MutexLocker();

  MutexLocker(const MutexLocker&) = delete;
  MutexLocker& operator=(const MutexLocker&) = delete;

  // Waits for the mutex. Returns 0, or the POSIX error.
  int lock() TRUSTLIB_THROWS(TrustManagerException);

  // Waits at most `seconds`. Returns 0, the POSIX error (ETIMEDOUT among them), or -1 for a
  // negative argument, which leaves the mutex alone.
  int timedLock(int seconds) TRUSTLIB_THROWS(TrustManagerException);

 private:
  pthread_mutex_t* mutex;
  bool locked;
};

#endif
