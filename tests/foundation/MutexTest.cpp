#include <errno.h>
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <type_traits>

#include "Mutex.h"
#include "support/CallFaults.h"
#include "support/LogCapture.h"

namespace {

using Kelp::Mutex;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::LogCapture;

// Whether another thread finds the mutex taken.
bool isHeld(Mutex& mutex) {
  bool isTaken = false;
  std::thread([&] {
    errno = EBUSY;  // keeps a busy mutex out of the log
    isTaken = mutex.trylock();
    if (isTaken) {
      mutex.unlock();
    }
  }).join();
  return !isTaken;
}

// A thread that holds the mutex from the end of the constructor to the destructor.
class Holder {
 public:
  explicit Holder(Mutex& mutex) : m_thread([this, &mutex] { hold(mutex); }) {
    while (!m_isHeld) {
      std::this_thread::yield();
    }
  }

  ~Holder() {
    m_mayEnd = true;
    m_thread.join();
  }

 private:
  void hold(Mutex& mutex) {
    Mutex::ScopedLock lock(mutex);
    m_isHeld = true;
    while (!m_mayEnd) {
      std::this_thread::yield();
    }
  }

  std::atomic<bool> m_isHeld{false};
  std::atomic<bool> m_mayEnd{false};
  std::thread m_thread;  // last: runs on the two above
};

TEST(MutexTest, HoldsNothingButThePosixMutex) {
  EXPECT_EQ(sizeof(Mutex), sizeof(pthread_mutex_t));
  EXPECT_FALSE(std::is_polymorphic_v<Mutex>);
}

TEST(MutexTest, CannotBeCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<Mutex>);
  EXPECT_FALSE(std::is_copy_assignable_v<Mutex>);
  EXPECT_FALSE(std::is_copy_constructible_v<Mutex::ScopedLock>);
  EXPECT_FALSE(std::is_copy_assignable_v<Mutex::ScopedLock>);
}

TEST(MutexTest, IsHeldFromLockToUnlock) {
  Mutex mutex;
  EXPECT_FALSE(isHeld(mutex));
  mutex.lock();
  EXPECT_TRUE(isHeld(mutex));
  mutex.unlock();
  EXPECT_FALSE(isHeld(mutex));
}

TEST(MutexTest, LetsOneThreadInAtATime) {
  Mutex mutex;
  int counter = 0;
  std::thread threads[4];
  for (std::thread& thread : threads) {
    thread = std::thread([&] {
      for (int i = 0; i < 10000; ++i) {
        Mutex::ScopedLock lock(mutex);
        ++counter;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(counter, 40000);
}

TEST(MutexTest, TrylockTakesAFreeMutex) {
  Mutex mutex;
  LogCapture log;
  EXPECT_TRUE(mutex.trylock());
  EXPECT_TRUE(isHeld(mutex));
  mutex.unlock();
  EXPECT_TRUE(log.lines().empty());
}

TEST(MutexTest, TrylockOnABusyMutexLogsTheErrnoThatTheThreadLastHad) {
  Mutex mutex;
  const Holder holder(mutex);
  LogCapture log;
  errno = ENOENT;
  EXPECT_FALSE(mutex.trylock());
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0], errorLine("Mutex.cpp", 93, "trylock", "Mutex Lock Error (errno=2)\n"));
}

TEST(MutexTest, TrylockOnABusyMutexIsSilentWhenTheThreadsErrnoIsEbusy) {
  Mutex mutex;
  const Holder holder(mutex);
  LogCapture log;
  errno = EBUSY;
  EXPECT_FALSE(mutex.trylock());
  EXPECT_TRUE(log.lines().empty());
}

TEST(MutexTest, TrylockJudgesAFailureByErrnoNotByTheResult) {
  Mutex mutex;
  LogCapture log;
  CallFault fault(Call::MutexTrylock, EINVAL, 0, 2);
  errno = EBUSY;
  EXPECT_FALSE(mutex.trylock());
  EXPECT_TRUE(log.lines().empty());
  errno = 0;
  EXPECT_FALSE(mutex.trylock());
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0], errorLine("Mutex.cpp", 93, "trylock", "Mutex Lock Error (errno=0)\n"));
}

TEST(ScopedLockTest, HoldsAFlagAndTheMutex) {
  EXPECT_EQ(sizeof(Mutex::ScopedLock), 2 * sizeof(void*));
  EXPECT_FALSE(std::is_polymorphic_v<Mutex::ScopedLock>);
}

TEST(ScopedLockTest, HoldsTheMutexToTheEndOfTheScope) {
  Mutex mutex;
  {
    Mutex::ScopedLock lock(mutex);
    EXPECT_TRUE(isHeld(mutex));
  }
  EXPECT_FALSE(isHeld(mutex));
}

TEST(ScopedLockTest, WaitsUntilTheMutexIsFree) {
  Mutex mutex;
  std::atomic<bool> isInside{false};
  mutex.lock();
  const int locksBefore = callCount(Call::MutexLock);
  std::thread waiter([&] {
    Mutex::ScopedLock lock(mutex);
    isInside = true;
  });
  while (callCount(Call::MutexLock) == locksBefore) {
    std::this_thread::yield();
  }
  EXPECT_FALSE(isInside);
  mutex.unlock();
  waiter.join();
  EXPECT_TRUE(isInside);
}

TEST(ScopedLockTest, UnlocksExactlyOnce) {
  Mutex mutex;
  const int before = callCount(Call::MutexUnlock);
  { Mutex::ScopedLock lock(mutex); }
  const int after = callCount(Call::MutexUnlock);
  EXPECT_EQ(after - before, 1);
}

TEST(ScopedLockTest, UnlocksExactlyOnceWhenAnExceptionLeavesTheScope) {
  Mutex mutex;
  const int before = callCount(Call::MutexUnlock);
  int after = 0;
  try {
    Mutex::ScopedLock lock(mutex);
    throw std::runtime_error("leaves the scope");
  } catch (const std::runtime_error&) {
    after = callCount(Call::MutexUnlock);
  }
  EXPECT_EQ(after - before, 1);
  EXPECT_FALSE(isHeld(mutex));
}

TEST(ScopedLockTest, TryingFormTakesAFreeMutexAndReleasesIt) {
  Mutex mutex;
  {
    bool isLocked = false;
    Mutex::ScopedLock lock(mutex, isLocked);
    EXPECT_TRUE(isLocked);
    EXPECT_TRUE(isHeld(mutex));
  }
  EXPECT_FALSE(isHeld(mutex));
}

TEST(ScopedLockTest, TryingFormReportsAMutexThatAnotherThreadHoldsAndReleasesNothing) {
  Mutex mutex;
  const Holder holder(mutex);
  bool isLocked = true;
  const int before = callCount(Call::MutexUnlock);
  {
    errno = EBUSY;
    Mutex::ScopedLock lock(mutex, isLocked);
  }
  const int after = callCount(Call::MutexUnlock);
  EXPECT_FALSE(isLocked);
  EXPECT_EQ(after, before);
  EXPECT_TRUE(isHeld(mutex));
}

TEST(MutexDeathTest, FailedInitialisationEndsTheProcess) {
  EXPECT_DEATH(
      {
        CallFault fault(Call::MutexInit, ENOMEM);
        const Mutex mutex;
      },
      "Mutex\\.cpp:41: Kelp::Mutex::Mutex\\(\\): Assertion `false' failed");
}

TEST(MutexDeathTest, FailedInitialisationOfTheAttributesEndsTheProcess) {
  EXPECT_DEATH(
      {
        CallFault fault(Call::MutexAttrInit, ENOMEM);
        const Mutex mutex;
      },
      "Mutex\\.cpp:41: Kelp::Mutex::Mutex\\(\\): Assertion `false' failed");
}

TEST(MutexDeathTest, FailedDestructionEndsTheProcess) {
  EXPECT_DEATH(
      {
        const Mutex mutex;
        CallFault fault(Call::MutexDestroy, EBUSY, 0, 100);
        mutex.~Mutex();
      },
      "Mutex\\.cpp:54: Kelp::Mutex::~Mutex\\(\\): Assertion `false' failed");
}

TEST(MutexDeathTest, FailedLockEndsTheProcess) {
  Mutex mutex;
  EXPECT_DEATH(
      {
        CallFault fault(Call::MutexLock, EDEADLK);
        mutex.lock();
      },
      "Mutex\\.cpp:67: void Kelp::Mutex::lock\\(\\): Assertion `false' failed");
}

TEST(MutexDeathTest, FailedUnlockEndsTheProcess) {
  Mutex mutex;
  EXPECT_DEATH(
      {
        mutex.lock();
        CallFault fault(Call::MutexUnlock, EPERM);
        mutex.unlock();
      },
      "Mutex\\.cpp:80: void Kelp::Mutex::unlock\\(\\): Assertion `false' failed");
}

}  // namespace
