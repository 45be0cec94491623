// A lock from its making to its end: held and released, taken where it is free, and held by both kinds of guards.

#include <errno.h>
#include <gtest/gtest.h>

#include <string>

#include "Mutex.h"
#include "starvation/Starvation.h"

namespace {

using Kelp::Mutex;
using KelpTest::Call;
using KelpTest::errorLine;
using KelpTest::goesOn;

std::string tryLock(Mutex& mutex) {
  errno = ENOENT;
  const bool isTaken = mutex.trylock();
  if (isTaken) {
    mutex.unlock();
  }
  return isTaken ? "taken" : "not taken";
}

std::string tryGuard(Mutex& mutex) {
  errno = EBUSY;
  bool isLocked = false;
  const Mutex::ScopedLock guard(mutex, isLocked);
  return isLocked ? "guarded" : "not guarded";
}

std::string liveWithAMutex() {
  Mutex mutex;
  mutex.lock();
  mutex.unlock();
  { const Mutex::ScopedLock guard(mutex); }
  return tryLock(mutex) + ", " + tryGuard(mutex);
}

}  // namespace

// A lock that was not taken is not released, and can be taken afterwards. What is logged goes by errno, which the call
// leaves as it was.
TEST(MutexStarvationTest, EveryCallThatFailsEndsAsStated) {
  KelpTest::Starvation starvation({nullptr, liveWithAMutex, nullptr});
  const std::string line = "Mutex Lock Error (errno=" + std::to_string(ENOENT) + ")\n";
  starvation.expect(Call::MutexTrylock, {goesOn("not taken, guarded", {errorLine("Mutex.cpp", 93, "trylock", line)}),
                                         goesOn("taken, not guarded")});
  starvation.failEachCall();
}
