// While it lives, one thread is hit by a signal about every 200 microseconds, so that its blocking calls keep being
// interrupted (EINTR). The signal's handler only counts.
#ifndef KELP_TESTS_SUPPORT_SIGNAL_STORM_H
#define KELP_TESTS_SUPPORT_SIGNAL_STORM_H

#include <pthread.h>

#include <atomic>
#include <thread>

namespace KelpTest {

// One storm at a time. Uses SIGUSR2.
class SignalStorm {
 public:
  SignalStorm();  // over the calling thread
  explicit SignalStorm(pthread_t target);
  ~SignalStorm();
  SignalStorm(const SignalStorm&) = delete;
  SignalStorm& operator=(const SignalStorm&) = delete;

  // How many signals the target has handled so far. Can be called on any thread.
  int hits() const;

  // Returns when the target has handled `count` more, on another thread than the target.
  void waitForMoreHits(int count) const;

 private:
  std::atomic<bool> m_isOver;
  std::thread m_sender;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_SIGNAL_STORM_H
