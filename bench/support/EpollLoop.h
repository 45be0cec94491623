// The floor's loop: plain epoll calls with the same 16-entry buffer as Kelp's.
#ifndef KELP_BENCH_SUPPORT_EPOLL_LOOP_H
#define KELP_BENCH_SUPPORT_EPOLL_LOOP_H

#include <errno.h>
#include <sys/epoll.h>
#include <unistd.h>

#include "support/Comparison.h"

namespace KelpBench {

class EpollLoop {
 public:
  EpollLoop() : m_epollFd(epoll_create1(EPOLL_CLOEXEC)) { require(m_epollFd != -1, "epoll_create1"); }
  ~EpollLoop() { close(m_epollFd); }
  EpollLoop(const EpollLoop&) = delete;
  EpollLoop& operator=(const EpollLoop&) = delete;

  void add(int fd) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    require(epoll_ctl(m_epollFd, EPOLL_CTL_ADD, fd, &event) == 0, "epoll_ctl(EPOLL_CTL_ADD)");
  }

  void remove(int fd) { require(epoll_ctl(m_epollFd, EPOLL_CTL_DEL, fd, nullptr) == 0, "epoll_ctl(EPOLL_CTL_DEL)"); }

  // Calls handle(fd) for each ready descriptor until it returns false.
  template <typename Handler>
  void run(Handler handle) {
    epoll_event events[kMaxReadyEvents];
    for (;;) {
      const int readyCount = epoll_wait(m_epollFd, events, kMaxReadyEvents, -1);
      require(readyCount != -1 || errno == EINTR, "epoll_wait");
      for (int i = 0; i < readyCount; ++i) {
        if (!handle(events[i].data.fd)) {
          return;
        }
      }
    }
  }

 private:
  static constexpr int kMaxReadyEvents = 16;

  int m_epollFd;
};

}  // namespace KelpBench

#endif  // KELP_BENCH_SUPPORT_EPOLL_LOOP_H
