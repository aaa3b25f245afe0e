#ifndef TRUSTLIB_UTIL_WRITE_LOCK_H
#define TRUSTLIB_UTIL_WRITE_LOCK_H

#include <pthread.h>

#include "trustlib/Export.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// Holds a read-write lock exclusively for one scope. The lock is borrowed.
class TRUSTLIB_EXPORT WriteLock {
 public:
  // Waits for the lock.
  explicit WriteLock(pthread_rwlock_t* lock) TRUSTLIB_THROWS(TrustManagerException);
  virtual ~WriteLock();

  WriteLock(const WriteLock&) = delete;
  WriteLock& operator=(const WriteLock&) = delete;

 private:
  pthread_rwlock_t* lock;
};

#endif
