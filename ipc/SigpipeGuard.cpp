#include "ipc/SigpipeGuard.h"

#include <errno.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace Kelp {

namespace {

sigset_t sigpipeSet() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGPIPE);
  return set;
}

// For the thread or for the process: the system tells them together.
bool isSigpipePending() {
  sigset_t pending;
  sigemptyset(&pending);
  sigpending(&pending);
  return sigismember(&pending, SIGPIPE) == 1;
}

// Takes a pending signal: the thread's own before the process's. Returns false when there is none.
bool takeSigpipe(siginfo_t& info) {
  const sigset_t set = sigpipeSet();
  const timespec noWait = {0, 0};
  int signal = -1;
  do {
    signal = sigtimedwait(&set, &info, &noWait);
  } while (signal == -1 && errno == EINTR);
  return signal == SIGPIPE;
}

// Makes the signal pending for the calling thread again, as it was.
void putBackSigpipe(siginfo_t& info) {
  syscall(SYS_rt_tgsigqueueinfo, getpid(), syscall(SYS_gettid), SIGPIPE, &info);
}

}  // namespace

// A signal can be pending for the thread only where the thread has blocked it; one that is pending for the process is
// never taken for the one that a write raises, which is the thread's. So the system is asked only where it is blocked.
SigpipeGuard::SigpipeGuard() : m_isBlocking(false), m_wasPending(false) {
  const sigset_t set = sigpipeSet();
  m_isBlocking = pthread_sigmask(SIG_BLOCK, &set, &m_previousMask) == 0;
  m_wasPending = m_isBlocking && sigismember(&m_previousMask, SIGPIPE) == 1 && isSigpipePending();
}

SigpipeGuard::~SigpipeGuard() {
  if (m_isBlocking) {
    pthread_sigmask(SIG_SETMASK, &m_previousMask, nullptr);
  }
}

bool SigpipeGuard::isSigpipeIgnored() {
  struct sigaction action;
  return sigaction(SIGPIPE, nullptr, &action) == 0 && (action.sa_flags & SA_SIGINFO) == 0 &&
         action.sa_handler == SIG_IGN;
}

void SigpipeGuard::takeBackRaised() {
  siginfo_t info;
  if (!takeSigpipe(info) || !m_wasPending) {
    return;
  }
  // One was pending before. Had it been the process's, it would be pending still; so it was the thread's, into which
  // the raised one merged, and it has been taken with it. Both may have been pending: the thread's then shows that no
  // write raised it.
  if (!isSigpipePending() || info.si_code != SI_USER) {
    putBackSigpipe(info);
  }
}

}  // namespace Kelp
