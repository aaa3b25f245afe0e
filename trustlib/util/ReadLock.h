#ifndef TRUSTLIB_UTIL_READ_LOCK_H
#define TRUSTLIB_UTIL_READ_LOCK_H

#include <pthread.h>

#include "trustlib/Export.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// Holds a read-write lock shared for one scope. The lock is borrowed.
class TRUSTLIB_EXPORT ReadLock {
 public:
  // Waits for the lock.
  explicit ReadLock(pthread_rwlock_t* lock) TRUSTLIB_THROWS(TrustManagerException);
  virtual ~ReadLock();

  ReadLock(const ReadLock&) = delete;
  ReadLock& operator=(const ReadLock&) = delete;

 private:
  pthread_rwlock_t* lock;
};

#endif
