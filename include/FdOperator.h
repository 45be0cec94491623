// One file descriptor: reads, writes, sizes, copies and closes it, repeating what a signal interrupts.
//
// Threads: no locks. Different objects may be used at once; whoever shares one, or one descriptor, serialises its use.
#ifndef KELP_FILE_FD_OPERATOR_H
#define KELP_FILE_FD_OPERATOR_H

#include "KelpExport.h"
#include "KelpObject.h"

namespace Kelp {

class KELP_EXPORT FdOperator : public KelpObject {
 public:
  // Without a descriptor (-1) until setFd(). `closeOnObjectDeletion`: the object owns its descriptor and closes it when
  // it is destroyed.
  explicit FdOperator(bool closeOnObjectDeletion);
  FdOperator(int fd, bool closeOnObjectDeletion);
  ~FdOperator() override;

  FdOperator(const FdOperator&) = delete;
  FdOperator& operator=(const FdOperator&) = delete;

  int getFd() const;
  void setFd(int fd);  // does not close the one before

  // As the system call: the new offset in bytes, or -1 with errno set. Logs nothing. Where a long has 32 bits and the
  // new offset more, it is taken up all the same and the result is -1 with EOVERFLOW.
  long lseek(long offset, int whence);

  // The file's size in bytes, or 0 when it cannot be told.
  virtual long long size() const;

  // Writes all of `len` bytes; blocks where the descriptor does. Returns `len`, or -1 with errno set, when some of the
  // bytes may have been written. Logs nothing but interruptions.
  int write(const void* buf, int len) const;

  // Reads until `len` bytes or the end of the file; blocks where the descriptor does. Returns how many bytes came,
  // fewer than `len` only at the end of the file, or -1 with errno set.
  int readNoTimeout(void* buf, int len) const;

  // Waits for the descriptor to become readable, even when `len` is 0, and then reads as readNoTimeout() does: the
  // time-out bounds the wait for the first byte only, and starts again when a signal interrupts it.
  // `timeoutMs`: milliseconds, 0 or more; -1 waits without limit. Returns -1 on time-out as on error, after an error
  // line. Only what epoll can wait for has a time-out: pipes, sockets, terminals, not plain files.
  int read(void* buf, int len, int timeoutMs) const;

  // Copies the whole content, from its first byte, to where `dst` stands; `dst` is neither rewound nor cut. Returns the
  // number of bytes copied, or -1, when some may have been copied; none are of a source of more than 2147483647 bytes,
  // whose number could not be told.
  int copy(FdOperator& dst);

  // Returns the system call's result, after an error line when it failed; 0 when there is nothing to close. No
  // descriptor is left in any case.
  int close();

 private:
  int m_fd;  // -1: none
  const bool m_closeOnObjectDeletion;
};

}  // namespace Kelp

#endif  // KELP_FILE_FD_OPERATOR_H
