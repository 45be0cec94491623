// The floor's hand-over of objects between threads: a pipe of pointers, each taken by one of its readers.
#ifndef KELP_BENCH_SUPPORT_POINTER_PIPE_H
#define KELP_BENCH_SUPPORT_POINTER_PIPE_H

#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include "support/Comparison.h"

namespace KelpBench {

template <typename Item>
class PointerPipe {
 public:
  PointerPipe() { require(pipe2(m_fds, O_CLOEXEC) == 0, "pipe2"); }
  ~PointerPipe() {
    close(m_fds[0]);
    close(m_fds[1]);
  }
  PointerPipe(const PointerPipe&) = delete;
  PointerPipe& operator=(const PointerPipe&) = delete;

  int readEnd() const { return m_fds[0]; }

  // The item is its receiver's from here on.
  void send(Item* item) const { require(write(m_fds[1], &item, sizeof(item)) == sizeof(item), "write"); }

  std::unique_ptr<Item> receive() const {
    Item* item = nullptr;
    require(read(m_fds[0], &item, sizeof(item)) == sizeof(item), "read");
    return std::unique_ptr<Item>(item);
  }

 private:
  int m_fds[2];
};

}  // namespace KelpBench

#endif  // KELP_BENCH_SUPPORT_POINTER_PIPE_H
