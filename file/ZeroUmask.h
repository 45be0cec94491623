// Lifts the process's umask while it lives, and puts the old one back.
//
// Threads: one at a time, the others wait: two that overlapped would put each other's 0 back for good. Must not be
// nested.
#ifndef KELP_FILE_ZERO_UMASK_H
#define KELP_FILE_ZERO_UMASK_H

#include <sys/types.h>

#include "Mutex.h"

namespace Kelp {

class ZeroUmask {
 public:
  ZeroUmask();
  ~ZeroUmask();
  ZeroUmask(const ZeroUmask&) = delete;
  ZeroUmask& operator=(const ZeroUmask&) = delete;

 private:
  Mutex::ScopedLock m_lock;
  mode_t m_oldMask;
};

}  // namespace Kelp

#endif  // KELP_FILE_ZERO_UMASK_H
