// What the tests of messaging between processes share.
#ifndef KELP_TESTS_IPC_IPC_TEST_SUPPORT_H
#define KELP_TESTS_IPC_IPC_TEST_SUPPORT_H

#include <sys/resource.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "IpcData.h"
#include "support/Descriptors.h"
#include "support/ObjectType.h"

namespace KelpTest {

constexpr char kFifoPath[] = "/tmp/Kelp/fifo";

// The process's descriptors that are open on `path`.
std::vector<int> descriptorsOf(const std::string& path);

// The text as the payload of a message.
template <typename Data>
Data& payload(std::string& text) {
  return reinterpret_cast<Data&>(text[0]);
}

// The payload that a handler was given.
std::string textOf(const Kelp::IpcData& data, int dataSize);

// While it lives, the process can open no more than `spare` further descriptors. What is to run meanwhile has to have
// run before: the undefined behaviour sanitizer needs descriptors where it meets a type for the first time.
class DescriptorShortage {
 public:
  explicit DescriptorShortage(int spare);
  ~DescriptorShortage();
  DescriptorShortage(const DescriptorShortage&) = delete;
  DescriptorShortage& operator=(const DescriptorShortage&) = delete;

 private:
  std::vector<int> m_fillers;
  rlim_t m_softLimit;
};

// A child process that runs `body` and exits with its result. It is killed and reaped at the latest when the object
// dies, does not outlive its parent, and ends by itself after `seconds`. To be built while the process has one thread.
class ChildProcess {
 public:
  explicit ChildProcess(const std::function<int()>& body, unsigned seconds = 300);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const;
  void kill();

  // Blocks until the child has ended. Returns its exit status, or minus the signal that ended it.
  int wait();

 private:
  pid_t m_pid;
  bool m_isReaped;
  int m_result;
};

// A byte's way from one process to another: for waiting until the other one is ready.
class Signpost {
 public:
  Signpost();
  ~Signpost();
  Signpost(const Signpost&) = delete;
  Signpost& operator=(const Signpost&) = delete;

  void raise();
  bool await();  // false when nobody can raise it any more

 private:
  int m_fds[2];
};

}  // namespace KelpTest

#endif  // KELP_TESTS_IPC_IPC_TEST_SUPPORT_H
