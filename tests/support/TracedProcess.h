// A child process that stops at the entry and at the exit of each of its system calls, so that a test can see what it
// asks the kernel for, and kill it there.
//
// Not everywhere may a process trace its own child; emulators of other processors cannot at all. Ask isPermitted().
#ifndef KELP_TESTS_SUPPORT_TRACED_PROCESS_H
#define KELP_TESTS_SUPPORT_TRACED_PROCESS_H

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <functional>
#include <string>

namespace KelpTest {

class TracedProcess {
 public:
  // Starts the child, which waits before `body`. It exits with what `body` returns.
  explicit TracedProcess(const std::function<int()>& body);
  ~TracedProcess();  // kills it where it still runs
  TracedProcess(const TracedProcess&) = delete;
  TracedProcess& operator=(const TracedProcess&) = delete;

  bool isPermitted() const;

  // Lets it run to its next entry or exit of a system call. False when it has ended instead.
  bool runToNextStop();

  // The system call at whose entry or exit it stands, and what it has been called with.
  long call() const;
  bool isEntry() const;
  uint64_t argument(int index) const;
  int64_t result() const;  // at the exit; below 0 an error

  // What is in its memory: so many bytes, or a text up to its NUL.
  std::string readMemory(uint64_t address, size_t size) const;
  std::string readText(uint64_t address) const;

  void killIt();

  // Whether `body` came to its end and returned 0.
  bool hasSucceeded() const;

 private:
  void noteStop();

  static constexpr int kArguments = 6;

  pid_t m_pid;
  int m_status;
  long m_call;  // -1 before the first entry
  bool m_isEntry;
  uint64_t m_arguments[kArguments];
  int64_t m_result;
};

// Whether a process may trace its own child here.
bool isTracingPermitted();

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_TRACED_PROCESS_H
