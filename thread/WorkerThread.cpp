#include "WorkerThread.h"

#include <pthread.h>

#include "ExecObjectEventReceiver.h"
#include "ExecObjectEventSender.h"
#include "ExecObjectPthreadExit.h"
#include "foundation/Diagnostics.h"

namespace Kelp {

WorkerThread::WorkerThread(ExecObjectEventReceiver& shared, int stackSize)
    : Thread(true, stackSize), m_eventLooper(shared), m_pSharedSender(&shared.getSender()) {
  setObjectType(ObjectType_WorkerThread);
}

WorkerThread::~WorkerThread() = default;

void WorkerThread::run() {
  m_eventLooper.runEventLoop();
  ::pthread_exit(this);
}

void WorkerThread::exit() {
  m_pSharedSender->send(*new ExecObjectPthreadExit);
}

void WorkerThread::join() {
  constexpr char kFunction[] = "void Kelp::WorkerThread::join()";
  void* exitValue = nullptr;
  const int result = ::pthread_join(getThreadId(), &exitValue);
  KELP_ASSERT_AT(63, exitValue == this, "p == this", kFunction);
  KELP_ASSERT_AT(64, result == 0, "ret == 0", kFunction);
}

}  // namespace Kelp
