#include "support/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/Comparison.h"

namespace KelpBench {

void ChildProcess::Link::sendBytes(const void* bytes, size_t size) const {
  require(write(m_writeFd, bytes, size) == static_cast<ssize_t>(size), "write to the other process");
}

void ChildProcess::Link::receiveBytes(void* bytes, size_t size) const {
  require(read(m_readFd, bytes, size) == static_cast<ssize_t>(size), "read from the other process");
}

ChildProcess::ChildProcess(const std::function<void(const Link& parent)>& body) : m_link(-1, -1), m_pid(-1) {
  int toChild[2];
  int toParent[2];
  require(pipe2(toChild, O_CLOEXEC) == 0 && pipe2(toParent, O_CLOEXEC) == 0, "pipe2");
  m_pid = fork();
  require(m_pid != -1, "fork");
  if (m_pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    close(toChild[1]);
    close(toParent[0]);
    body(Link(toChild[0], toParent[1]));
    _exit(EXIT_SUCCESS);
  }
  close(toChild[0]);
  close(toParent[1]);
  m_link = Link(toParent[0], toChild[1]);
}

ChildProcess::~ChildProcess() {
  int status = 0;
  require(waitpid(m_pid, &status, 0) == m_pid && status == 0, "child process");
  close(m_link.readFd());
  close(m_link.writeFd());
}

}  // namespace KelpBench
