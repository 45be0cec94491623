// Questions about the process's descriptors.
#ifndef KELP_TESTS_SUPPORT_DESCRIPTORS_H
#define KELP_TESTS_SUPPORT_DESCRIPTORS_H

#include <fcntl.h>
#include <unistd.h>

namespace KelpTest {

inline bool isOpen(int fd) {
  return fcntl(fd, F_GETFD) != -1;
}

inline bool isCloseOnExec(int fd) {
  const int flags = fcntl(fd, F_GETFD);
  return flags != -1 && (flags & FD_CLOEXEC) != 0;
}

// The number that the next descriptor gets: the same before and after when none was lost.
inline int nextFreeFd() {
  const int fd = dup(0);
  close(fd);
  return fd;
}

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_DESCRIPTORS_H
