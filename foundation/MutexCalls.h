// A mutex's calls for where the library itself locks on its hottest paths: inlined, and usable before any constructor
// has run. A call that fails ends the process just as Mutex's does.
#ifndef KELP_FOUNDATION_MUTEX_CALLS_H
#define KELP_FOUNDATION_MUTEX_CALLS_H

#include <pthread.h>

namespace Kelp {

// The failed assertions of Mutex::lock() and Mutex::unlock().
[[noreturn]] void failMutexLock();
[[noreturn]] void failMutexUnlock();

inline void lockMutex(pthread_mutex_t& mutex) {
  if (__builtin_expect(pthread_mutex_lock(&mutex) != 0, 0)) {
    failMutexLock();
  }
}

inline void unlockMutex(pthread_mutex_t& mutex) {
  if (__builtin_expect(pthread_mutex_unlock(&mutex) != 0, 0)) {
    failMutexUnlock();
  }
}

// Holds the mutex from its construction to the end of the scope.
class InlineScopedLock {
 public:
  explicit InlineScopedLock(pthread_mutex_t& mutex) : m_mutex(mutex) { lockMutex(m_mutex); }
  ~InlineScopedLock() { unlockMutex(m_mutex); }

  InlineScopedLock(const InlineScopedLock&) = delete;
  InlineScopedLock& operator=(const InlineScopedLock&) = delete;

 private:
  pthread_mutex_t& m_mutex;
};

}  // namespace Kelp

#endif  // KELP_FOUNDATION_MUTEX_CALLS_H
