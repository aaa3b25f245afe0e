#include <errno.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <limits>
#include <thread>

#include <gtest/gtest.h>

#include "trustlib/util/MutexLocker.h"
#include "trustlib/util/ReadLock.h"
#include "trustlib/util/WriteLock.h"

namespace {

// What another thread gets when it tries; it gives back what it got.
int tryElsewhere(pthread_mutex_t* mutex) {
  int result = 0;
  std::thread([&] {
    result = pthread_mutex_trylock(mutex);
    if (result == 0) {
      pthread_mutex_unlock(mutex);
    }
  }).join();
  return result;
}

int tryElsewhere(pthread_rwlock_t* lock, int (*tryLock)(pthread_rwlock_t*)) {
  int result = 0;
  std::thread([&] {
    result = tryLock(lock);
    if (result == 0) {
      pthread_rwlock_unlock(lock);
    }
  }).join();
  return result;
}

TEST(MutexLocker, MakingTheHolderTakesNothing) {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  const MutexLocker locker(&mutex);
  EXPECT_EQ(0, tryElsewhere(&mutex));
}

TEST(MutexLocker, HoldsTheMutexFromLockToTheEndOfItsScope) {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  {
    MutexLocker locker(&mutex);
    EXPECT_EQ(0, locker.lock());
    EXPECT_EQ(EBUSY, tryElsewhere(&mutex));
  }
  EXPECT_EQ(0, tryElsewhere(&mutex));
}

TEST(MutexLocker, NegativeTimeoutIsRefusedAndLeavesTheMutexFree) {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  MutexLocker locker(&mutex);
  EXPECT_EQ(-1, locker.timedLock(-1));
  EXPECT_EQ(0, tryElsewhere(&mutex));
}

TEST(MutexLocker, TimedLockTakesAFreeMutexEvenWithoutWaiting) {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  MutexLocker locker(&mutex);
  EXPECT_EQ(0, locker.timedLock(0));
  EXPECT_EQ(EBUSY, tryElsewhere(&mutex));
}

TEST(MutexLocker, TimedLockThatRanOutNeitherHoldsNorUnlocks) {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  MutexLocker holder(&mutex);
  holder.lock();
  std::thread([&] {
    MutexLocker locker(&mutex);
    EXPECT_EQ(ETIMEDOUT, locker.timedLock(0));
  }).join();
  EXPECT_EQ(EBUSY, tryElsewhere(&mutex));
}

TEST(MutexLocker, TimedLockWaitsForAHolderToLetGo) {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  std::atomic<bool> held{false};
  std::thread holder([&] {
    MutexLocker locker(&mutex);
    locker.lock();
    held = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // most likely into the wait
  });
  while (!held) {
    std::this_thread::yield();
  }
  MutexLocker locker(&mutex);
  EXPECT_EQ(0, locker.timedLock(60));
  holder.join();
}

TEST(MutexLocker, LongestWaitDoesNotOverflow) {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  MutexLocker locker(&mutex);
  EXPECT_EQ(0, locker.timedLock(std::numeric_limits<int>::max()));
}

TEST(MutexLocker, FailedLockIsReportedAndNotUndone) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
  pthread_mutex_t mutex;
  pthread_mutex_init(&mutex, &attributes);
  {
    MutexLocker holder(&mutex);
    holder.lock();
    {
      MutexLocker second(&mutex);
      EXPECT_EQ(EDEADLK, second.lock());
    }
    EXPECT_EQ(EBUSY, tryElsewhere(&mutex)) << "the second holder must not have unlocked it";
  }
  pthread_mutex_destroy(&mutex);
  pthread_mutexattr_destroy(&attributes);
}

TEST(ReadLock, LetsReadersInAndKeepsWritersOut) {
  pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
  {
    const ReadLock holder(&lock);
    EXPECT_EQ(0, tryElsewhere(&lock, pthread_rwlock_tryrdlock));
    EXPECT_EQ(EBUSY, tryElsewhere(&lock, pthread_rwlock_trywrlock));
  }
  EXPECT_EQ(0, tryElsewhere(&lock, pthread_rwlock_trywrlock));
}

TEST(WriteLock, KeepsReadersAndWritersOut) {
  pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
  {
    const WriteLock holder(&lock);
    EXPECT_EQ(EBUSY, tryElsewhere(&lock, pthread_rwlock_tryrdlock));
    EXPECT_EQ(EBUSY, tryElsewhere(&lock, pthread_rwlock_trywrlock));
  }
  EXPECT_EQ(0, tryElsewhere(&lock, pthread_rwlock_tryrdlock));
}

}  // namespace
