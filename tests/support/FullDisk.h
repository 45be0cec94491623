// A disk that is full after a few bytes.
#ifndef KELP_TESTS_SUPPORT_FULL_DISK_H
#define KELP_TESTS_SUPPORT_FULL_DISK_H

#include <signal.h>
#include <sys/resource.h>

namespace KelpTest {

// While it lives, no file of the process grows beyond `bytes`: what a write has beyond that fails.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) : m_previousHandler(signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &m_previous);
    const rlimit limit = {bytes, m_previous.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }

  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &m_previous);
    signal(SIGXFSZ, m_previousHandler);
  }

  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit m_previous;
  void (*m_previousHandler)(int);
};

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_FULL_DISK_H
