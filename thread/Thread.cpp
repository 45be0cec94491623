#include "Thread.h"

#include <signal.h>

#include "foundation/Diagnostics.h"

namespace Kelp {

Thread::Thread(bool blockAllSignals, int stackSize)
    : m_stackSize(stackSize), m_blocksAllSignals(blockAllSignals), m_threadId(::pthread_self()) {}

Thread::~Thread() = default;

void Thread::start() {
  constexpr char kFunction[] = "void Kelp::Thread::start()";
  pthread_attr_t attributes;  // holds nothing that would have to be released
  int result = ::pthread_attr_init(&attributes);
  KELP_ASSERT_AT(46, result == 0, "ret == 0", kFunction);
  result = ::pthread_attr_setstacksize(&attributes, static_cast<size_t>(m_stackSize));
  KELP_ASSERT_AT(50, result == 0, "ret == 0", kFunction);
  result = ::pthread_create(&m_threadId, &attributes, startRoutine, this);
  KELP_ASSERT_AT(53, result == 0, "ret == 0", kFunction);
}

void* Thread::startRoutine(void* thread) {
  static_cast<Thread*>(thread)->runMain();
  return nullptr;
}

void Thread::runMain() {
  if (m_blocksAllSignals) {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigfillset(&signals);
    const int result = ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    KELP_ASSERT_AT(67, result == 0, "ret == 0", "void Kelp::Thread::runMain()");
  }
  run();
}

pthread_t Thread::getThreadId() const {
  return m_threadId;
}

}  // namespace Kelp
