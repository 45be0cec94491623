#include "Mutex.h"

#include <errno.h>

#include "foundation/Diagnostics.h"
#include "foundation/MutexCalls.h"

namespace Kelp {

void failMutexLock() {
  KELP_FAIL_AT(67, "false", "void Kelp::Mutex::lock()");
}

void failMutexUnlock() {
  KELP_FAIL_AT(80, "false", "void Kelp::Mutex::unlock()");
}

Mutex::Mutex() {
  pthread_mutexattr_t attributes;
  KELP_ASSERT_AT(41, pthread_mutexattr_init(&attributes) == 0 && pthread_mutex_init(&m_mutex, &attributes) == 0,
                 "false", "Kelp::Mutex::Mutex()");
}

Mutex::~Mutex() {
  KELP_ASSERT_AT(54, pthread_mutex_destroy(&m_mutex) == 0, "false", "Kelp::Mutex::~Mutex()");
}

void Mutex::lock() {
  lockMutex(m_mutex);
}

void Mutex::unlock() {
  unlockMutex(m_mutex);
}

bool Mutex::trylock() {
  if (pthread_mutex_trylock(&m_mutex) == 0) {
    return true;
  }
  // A busy mutex reports through the result, so errno is whatever the thread had last: kept, log readers know the line.
  if (errno != EBUSY) {
    KELP_LOG_ERROR_AT(93, "Mutex Lock Error (errno=%d)\n", errno);
  }
  return false;
}

Mutex::ScopedLock::ScopedLock(Mutex& mutex) : m_isLocked(true), m_mutex(mutex) {
  lockMutex(m_mutex.m_mutex);
}

Mutex::ScopedLock::ScopedLock(Mutex& mutex, bool& isLocked) : m_isLocked(mutex.trylock()), m_mutex(mutex) {
  isLocked = m_isLocked;
}

Mutex::ScopedLock::~ScopedLock() {
  if (m_isLocked) {
    unlockMutex(m_mutex.m_mutex);
  }
}

}  // namespace Kelp
