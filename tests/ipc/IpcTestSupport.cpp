#include "ipc/IpcTestSupport.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace KelpTest {

namespace {

constexpr rlim_t kFewDescriptors = 64;

std::string linkTarget(const std::string& path) {
  char target[4096];
  const ssize_t length = readlink(path.c_str(), target, sizeof target);
  return length < 0 ? "" : std::string(target, static_cast<size_t>(length));
}

}  // namespace

std::vector<int> descriptorsOf(const std::string& path) {
  std::vector<int> fds;
  DIR* const directory = opendir("/proc/self/fd");
  while (const dirent* const entry = readdir(directory)) {
    if (linkTarget(std::string("/proc/self/fd/") + entry->d_name) == path) {
      fds.push_back(static_cast<int>(strtol(entry->d_name, nullptr, 10)));
    }
  }
  closedir(directory);
  return fds;
}

std::string textOf(const Kelp::IpcData& data, int dataSize) {
  return std::string(reinterpret_cast<const char*>(&data), static_cast<size_t>(dataSize));
}

DescriptorShortage::DescriptorShortage(int spare) : m_softLimit(0) {
  rlimit limit;
  getrlimit(RLIMIT_NOFILE, &limit);
  m_softLimit = limit.rlim_cur;
  limit.rlim_cur = kFewDescriptors;
  setrlimit(RLIMIT_NOFILE, &limit);
  for (int fd = open("/", O_PATH | O_CLOEXEC); fd != -1; fd = open("/", O_PATH | O_CLOEXEC)) {
    m_fillers.push_back(fd);
  }
  for (int i = 0; i < spare; ++i) {
    close(m_fillers.back());
    m_fillers.pop_back();
  }
}

DescriptorShortage::~DescriptorShortage() {
  for (const int fd : m_fillers) {
    close(fd);
  }
  rlimit limit;
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = m_softLimit;
  setrlimit(RLIMIT_NOFILE, &limit);
}

ChildProcess::ChildProcess(const std::function<int()>& body, unsigned seconds)
    : m_pid(-1), m_isReaped(false), m_result(-1) {
  const pid_t parent = getpid();
  m_pid = fork();
  if (m_pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    alarm(seconds);
    _exit(getppid() == parent ? body() : EXIT_FAILURE);
  }
  if (m_pid == -1) {
    abort();  // not a process id to kill
  }
}

ChildProcess::~ChildProcess() {
  if (!m_isReaped) {
    kill();
    wait();
  }
}

pid_t ChildProcess::pid() const {
  return m_pid;
}

void ChildProcess::kill() {
  ::kill(m_pid, SIGKILL);
}

int ChildProcess::wait() {
  int status = 0;
  while (!m_isReaped && waitpid(m_pid, &status, 0) == -1) {
    if (errno != EINTR) {
      return m_result;
    }
  }
  if (!m_isReaped) {
    m_isReaped = true;
    m_result = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  return m_result;
}

Signpost::Signpost() : m_fds{-1, -1} {
  if (pipe2(m_fds, O_CLOEXEC) != 0) {
    abort();
  }
}

Signpost::~Signpost() {
  close(m_fds[0]);
  close(m_fds[1]);
}

void Signpost::raise() {
  if (write(m_fds[1], "x", 1) != 1) {
    abort();
  }
}

bool Signpost::await() {
  char byte = 0;
  ssize_t count = -1;
  do {
    count = read(m_fds[0], &byte, 1);
  } while (count == -1 && errno == EINTR);
  return count == 1;
}

}  // namespace KelpTest
