#include "FdOperator.h"

#include <errno.h>
#include <sys/epoll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <memory>

#include "foundation/Diagnostics.h"

namespace Kelp {

namespace {

constexpr int kCopyBufferSize = 4096;

static_assert(sizeof(off_t) == sizeof(long long), "build with _FILE_OFFSET_BITS=64, for the sizes of large files");

epoll_event inputEventOf(int fd) {
  epoll_event event = {};
  event.events = EPOLLIN;
  event.data.fd = fd;
  return event;
}

}  // namespace

FdOperator::FdOperator(bool closeOnObjectDeletion) : FdOperator(-1, closeOnObjectDeletion) {}

FdOperator::FdOperator(int fd, bool closeOnObjectDeletion) : m_fd(fd), m_closeOnObjectDeletion(closeOnObjectDeletion) {
  setObjectType(ObjectType_FdOperator);
}

FdOperator::~FdOperator() {
  if (m_closeOnObjectDeletion) {
    close();
  }
}

int FdOperator::getFd() const {
  return m_fd;
}

void FdOperator::setFd(int fd) {
  m_fd = fd;
}

long FdOperator::lseek(long offset, int whence) {
  const off_t position = ::lseek(m_fd, offset, whence);
  const auto result = static_cast<long>(position);
  if (result != position) {  // a long has 32 bits on the device
    errno = EOVERFLOW;
    return -1;
  }
  return result;
}

long long FdOperator::size() const {
  struct stat status;
  return ::fstat(m_fd, &status) == 0 ? static_cast<long long>(status.st_size) : 0;
}

int FdOperator::write(const void* buf, int len) const {
  const char* position = static_cast<const char*>(buf);
  int remaining = len;
  while (remaining > 0) {
    const ssize_t written = ::write(m_fd, position, static_cast<size_t>(remaining));
    if (written >= 0) {
      position += written;
      remaining -= static_cast<int>(written);
    } else if (errno == EINTR) {
      // Log readers know the text: it names read() here too, and has no line end.
      KELP_LOG_TRACE("*** Interrupted by a Signal! Retry read()!! ***");
    } else {
      return -1;
    }
  }
  return len - remaining;
}

int FdOperator::readNoTimeout(void* buf, int len) const {
  char* position = static_cast<char*>(buf);
  int remaining = len;
  while (remaining > 0) {
    const ssize_t count = ::read(m_fd, position, static_cast<size_t>(remaining));
    if (count > 0) {
      position += count;
      remaining -= static_cast<int>(count);
    } else if (count == 0) {
      break;
    } else if (errno == EINTR) {
      KELP_LOG_TRACE("*** Interrupted by a Signal! Retry read()!! ***");
    } else {
      return -1;
    }
  }
  return len - remaining;
}

int FdOperator::read(void* buf, int len, int timeoutMs) const {
  if (timeoutMs == -1) {
    return readNoTimeout(buf, len);
  }
  const int epollFd = ::epoll_create(1);
  if (epollFd == -1) {  // the next call fails too, and its error is the one that ends the read
    KELP_LOG_ERROR("###ERROR### epoll_create() returns error!!!(errno=%d)\n\n", errno);
  }
  epoll_event event = inputEventOf(m_fd);
  if (::epoll_ctl(epollFd, EPOLL_CTL_ADD, m_fd, &event) == -1) {
    KELP_LOG_ERROR("###ERROR### epoll_ctl() returns error!!!(errno=%d)\n\n", errno);
    ::close(epollFd);
    return -1;
  }
  int readyCount = -1;
  while ((readyCount = ::epoll_wait(epollFd, &event, 1, timeoutMs)) == -1 && errno == EINTR) {
    KELP_LOG_TRACE("*** Interrupted by a Signal! Retry epoll_wait()!! ***");
  }
  const int error = errno;
  ::close(epollFd);
  if (readyCount == -1) {
    KELP_LOG_ERROR("###ERROR### epoll_wait() returns error!!(errno=%d)\n\n", error);
    return -1;
  }
  if (readyCount == 0) {
    KELP_LOG_ERROR("###ERROR### epoll_wait() is Timeout.\n\n");
    return -1;
  }
  KELP_ASSERT(event.data.fd == m_fd, "event.data.fd == m_fd");
  return readNoTimeout(buf, len);
}

int FdOperator::copy(FdOperator& dst) {
  if (lseek(0, SEEK_SET) == -1) {
    return -1;
  }
  const long long total = size();
  if (total > INT_MAX) {  // the result could not tell how much was copied
    return -1;
  }
  const std::unique_ptr<char[]> buffer(new char[kCopyBufferSize]);
  int copied = 0;
  while (copied < total) {
    // A file that grows meanwhile is not followed beyond what the result can tell.
    const int count = read(buffer.get(), std::min(kCopyBufferSize, INT_MAX - copied), -1);
    if (count == 0) {  // the file shrank meanwhile
      break;
    }
    if (count == -1 || dst.write(buffer.get(), count) == -1) {
      return -1;
    }
    copied += count;
  }
  return copied;
}

int FdOperator::close() {
  if (m_fd < 0) {
    return 0;
  }
  const int result = ::close(m_fd);
  if (result == -1) {
    KELP_LOG_ERROR("###ERROR### close() returns error(errno=%d).\n", errno);
  }
  m_fd = -1;
  return result;
}

}  // namespace Kelp
