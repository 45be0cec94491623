#include "support/TracedProcess.h"

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

namespace KelpTest {

namespace {

constexpr int kNotPermitted = 77;
constexpr int kSyscallStop = SIGTRAP | 0x80;

[[noreturn]] void runTraced(const std::function<int()>& body) {
  if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
    _exit(kNotPermitted);
  }
  raise(SIGSTOP);
  _exit(body());
}

}  // namespace

TracedProcess::TracedProcess(const std::function<int()>& body)
    : m_pid(fork()), m_status(0), m_call(-1), m_isEntry(false), m_arguments(), m_result(0) {
  if (m_pid == 0) {
    runTraced(body);
  }
  waitpid(m_pid, &m_status, 0);
  if (WIFSTOPPED(m_status)) {
    ptrace(PTRACE_SETOPTIONS, m_pid, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  }
}

TracedProcess::~TracedProcess() {
  if (WIFSTOPPED(m_status)) {
    killIt();
  }
}

bool TracedProcess::isPermitted() const {
  return !WIFEXITED(m_status) || WEXITSTATUS(m_status) != kNotPermitted;
}

bool TracedProcess::runToNextStop() {
  int signal = 0;
  do {
    ptrace(PTRACE_SYSCALL, m_pid, nullptr, signal);
    waitpid(m_pid, &m_status, 0);
    signal = WIFSTOPPED(m_status) && WSTOPSIG(m_status) != kSyscallStop ? WSTOPSIG(m_status) : 0;
  } while (signal != 0);
  if (!WIFSTOPPED(m_status)) {
    return false;
  }
  noteStop();
  return true;
}

long TracedProcess::call() const {
  return m_call;
}

bool TracedProcess::isEntry() const {
  return m_isEntry;
}

uint64_t TracedProcess::argument(int index) const {
  return m_arguments[index];
}

int64_t TracedProcess::result() const {
  return m_result;
}

std::string TracedProcess::readMemory(uint64_t address, size_t size) const {
  std::string bytes(size, '\0');
  const iovec to = {&bytes[0], size};
  const iovec from = {reinterpret_cast<void*>(static_cast<uintptr_t>(address)), size};
  const ssize_t count = process_vm_readv(m_pid, &to, 1, &from, 1, 0);
  bytes.resize(static_cast<size_t>(std::max<ssize_t>(count, 0)));
  return bytes;
}

std::string TracedProcess::readText(uint64_t address) const {
  std::string text;
  for (std::string byte = readMemory(address, 1); !byte.empty() && byte[0] != '\0'; byte = readMemory(++address, 1)) {
    text += byte;
  }
  return text;
}

void TracedProcess::killIt() {
  kill(m_pid, SIGKILL);
  waitpid(m_pid, &m_status, 0);
}

bool TracedProcess::hasSucceeded() const {
  return WIFEXITED(m_status) && WEXITSTATUS(m_status) == 0;
}

void TracedProcess::noteStop() {
  __ptrace_syscall_info info = {};
  ptrace(PTRACE_GET_SYSCALL_INFO, m_pid, reinterpret_cast<void*>(sizeof info), &info);
  m_isEntry = info.op == PTRACE_SYSCALL_INFO_ENTRY;
  if (m_isEntry) {
    m_call = static_cast<long>(info.entry.nr);
    std::copy(info.entry.args, info.entry.args + kArguments, m_arguments);
  } else {
    m_result = info.exit.rval;
  }
}

bool isTracingPermitted() {
  return TracedProcess([] { return 0; }).isPermitted();
}

}  // namespace KelpTest
