#include "trustlib/util/ReadLock.h"

ReadLock::ReadLock(pthread_rwlock_t* lock) TRUSTLIB_THROWS(TrustManagerException) : lock(lock) {
  pthread_rwlock_rdlock(lock);
}

ReadLock::~ReadLock() {
  pthread_rwlock_unlock(lock);
}
