// Lets a thread wait for another one without a call that could be made to fail.
#ifndef KELP_TESTS_STARVATION_SIGNAL_H
#define KELP_TESTS_STARVATION_SIGNAL_H

#include <semaphore.h>

namespace KelpTest {

class Signal {
 public:
  Signal() { sem_init(&m_semaphore, 0, 0); }
  ~Signal() { sem_destroy(&m_semaphore); }
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;

  void set() { sem_post(&m_semaphore); }

  void wait() {
    while (sem_wait(&m_semaphore) == -1) {  // interrupted
    }
  }

 private:
  sem_t m_semaphore;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_STARVATION_SIGNAL_H
