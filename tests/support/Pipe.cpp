#include "support/Pipe.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <utility>

namespace KelpTest {

namespace {

void closeEnd(int& fd) {
  if (fd >= 0) {
    close(std::exchange(fd, -1));
  }
}

}  // namespace

Pipe::Pipe() : m_fds{-1, -1} {
  if (pipe2(m_fds, O_CLOEXEC) == -1) {
    abort();
  }
}

Pipe::~Pipe() {
  closeReadEnd();
  closeWriteEnd();
}

int Pipe::readEnd() const {
  return m_fds[0];
}

int Pipe::writeEnd() const {
  return m_fds[1];
}

int Pipe::takeReadEnd() {
  return std::exchange(m_fds[0], -1);
}

int Pipe::takeWriteEnd() {
  return std::exchange(m_fds[1], -1);
}

void Pipe::closeReadEnd() {
  closeEnd(m_fds[0]);
}

void Pipe::closeWriteEnd() {
  closeEnd(m_fds[1]);
}

void Pipe::fill() {
  const char bytes[4096] = {};
  const int flags = fcntl(writeEnd(), F_GETFL);
  fcntl(writeEnd(), F_SETFL, flags | O_NONBLOCK);
  while (write(writeEnd(), bytes, sizeof(bytes)) > 0) {
  }
  fcntl(writeEnd(), F_SETFL, flags);
}

}  // namespace KelpTest
