#include "trustlib/util/WriteLock.h"

WriteLock::WriteLock(pthread_rwlock_t* lock) TRUSTLIB_THROWS(TrustManagerException) : lock(lock) {
  pthread_rwlock_wrlock(lock);
}

WriteLock::~WriteLock() {
  pthread_rwlock_unlock(lock);
}
