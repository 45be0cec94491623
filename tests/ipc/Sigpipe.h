// The calling thread's SIGPIPE: sets how it is met and takes what is pending.
#ifndef KELP_TESTS_IPC_SIGPIPE_H
#define KELP_TESTS_IPC_SIGPIPE_H

#include <signal.h>
#include <time.h>

#include <vector>

namespace KelpTest {

inline sigset_t sigpipeOnly() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGPIPE);
  return set;
}

inline bool isSigpipeBlocked() {
  sigset_t mask;
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  return sigismember(&mask, SIGPIPE) == 1;
}

// Takes all that are pending, blocked as they must be. Returns their codes (siginfo_t::si_code).
inline std::vector<int> takePendingSigpipes() {
  const sigset_t set = sigpipeOnly();
  const timespec noWait = {0, 0};
  std::vector<int> codes;
  siginfo_t info;
  while (sigtimedwait(&set, &info, &noWait) == SIGPIPE) {
    codes.push_back(info.si_code);
  }
  return codes;
}

// Blocks the signal on the calling thread while it lives. What is pending at the end is dropped.
class SigpipeBlocked {
 public:
  SigpipeBlocked() {
    const sigset_t set = sigpipeOnly();
    pthread_sigmask(SIG_BLOCK, &set, &m_previousMask);
  }
  ~SigpipeBlocked() {
    takePendingSigpipes();
    pthread_sigmask(SIG_SETMASK, &m_previousMask, nullptr);
  }
  SigpipeBlocked(const SigpipeBlocked&) = delete;
  SigpipeBlocked& operator=(const SigpipeBlocked&) = delete;

 private:
  sigset_t m_previousMask;
};

// Gives the signal a handler, or SIG_DFL or SIG_IGN, while it lives.
class SigpipeDisposition {
 public:
  explicit SigpipeDisposition(void (*handler)(int)) { m_previous = signal(SIGPIPE, handler); }
  ~SigpipeDisposition() { signal(SIGPIPE, m_previous); }
  SigpipeDisposition(const SigpipeDisposition&) = delete;
  SigpipeDisposition& operator=(const SigpipeDisposition&) = delete;

 private:
  void (*m_previous)(int);
};

inline void (*sigpipeHandler())(int) {
  struct sigaction action;
  sigaction(SIGPIPE, nullptr, &action);
  return action.sa_handler;
}

}  // namespace KelpTest

#endif  // KELP_TESTS_IPC_SIGPIPE_H
