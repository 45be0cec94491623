// A plain, non-recursive lock, and its guards for a scope.
//
// A POSIX call that fails here means a broken program: the process ends. Only trylock() reports to its caller.
#ifndef KELP_FOUNDATION_MUTEX_H
#define KELP_FOUNDATION_MUTEX_H

#include <pthread.h>

#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT Mutex {
 public:
  // Holds the mutex from its construction to the end of the scope, also when the scope is left by an exception.
  class KELP_EXPORT ScopedLock {
   public:
    // Blocks until the mutex is free.
    explicit ScopedLock(Mutex& mutex);

    // Never blocks. `isLocked` says whether the mutex was taken: test it before touching what the mutex guards.
    ScopedLock(Mutex& mutex, bool& isLocked);

    ~ScopedLock();

    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

   private:
    bool m_isLocked;  // whether this guard has to unlock
    Mutex& m_mutex;
  };

  Mutex();
  ~Mutex();  // nobody may hold it

  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  // Blocks until the mutex is free. A thread that already holds it waits for ever.
  void lock();

  // The calling thread must hold the mutex.
  void unlock();

  // Takes the mutex if it is free; never blocks. Returns false when it is not taken, normally after one error line.
  bool trylock();

 private:
  pthread_mutex_t m_mutex;
};

}  // namespace Kelp

#endif  // KELP_FOUNDATION_MUTEX_H
