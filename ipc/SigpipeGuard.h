// Keeps SIGPIPE from the calling thread while it lives, and puts the thread's signal mask back afterwards. The
// disposition of the signal stays as it is. Where the mask cannot be changed, it stays as it is too.
//
// Threads: built, used and destroyed on one thread; guards of several threads do not disturb each other.
#ifndef KELP_IPC_SIGPIPE_GUARD_H
#define KELP_IPC_SIGPIPE_GUARD_H

#include <signal.h>

namespace Kelp {

class SigpipeGuard {
 public:
  SigpipeGuard();
  ~SigpipeGuard();
  SigpipeGuard(const SigpipeGuard&) = delete;
  SigpipeGuard& operator=(const SigpipeGuard&) = delete;

  // Whether the process ignores the signal, so that no guard is needed.
  static bool isSigpipeIgnored();

  // Called after a write that raised the signal: takes back what it raised, and only that. Signals that were pending
  // before stay pending.
  void takeBackRaised();

 private:
  sigset_t m_previousMask;  // holds while m_isBlocking
  bool m_isBlocking;
  bool m_wasPending;
};

}  // namespace Kelp

#endif  // KELP_IPC_SIGPIPE_GUARD_H
