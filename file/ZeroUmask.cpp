#include "file/ZeroUmask.h"

#include <sys/stat.h>

namespace Kelp {

namespace {

// Never destroyed: threads may still run while the process ends.
Mutex& umaskMutex() {
  static Mutex* const mutex = new Mutex;
  return *mutex;
}

}  // namespace

ZeroUmask::ZeroUmask() : m_lock(umaskMutex()), m_oldMask(::umask(0)) {}

ZeroUmask::~ZeroUmask() {
  ::umask(m_oldMask);
}

}  // namespace Kelp
