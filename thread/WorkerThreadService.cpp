#include "WorkerThreadService.h"

#include "EventLooperMultiWait.h"
#include "ExecObjectEventSender.h"
#include "ExecObjectRequestToWorkerThread.h"
#include "WorkerThread.h"
#include "foundation/Diagnostics.h"
#include "thread/NextExecId.h"
#include "thread/WorkerStackSize.h"

namespace Kelp {

WorkerThreadService* WorkerThreadService::s_pThis = nullptr;

WorkerThreadService::RequestToWorkerThread::~RequestToWorkerThread() = default;

WorkerThreadService::WorkerObserver::~WorkerObserver() = default;

void WorkerThreadService::createInstance(int numThreads) {
  KELP_ASSERT_AT(74, s_pThis == nullptr, "s_pThis == __null",
                 "static void Kelp::WorkerThreadService::createInstance(int)");
  s_pThis = new WorkerThreadService(numThreads);
}

WorkerThreadService& WorkerThreadService::getInstance() {
  KELP_ASSERT_AT(93, s_pThis != nullptr, "s_pThis != __null",
                 "static Kelp::WorkerThreadService& Kelp::WorkerThreadService::getInstance()");
  return *s_pThis;
}

void WorkerThreadService::destroyInstance() {
  KELP_ASSERT_AT(83, s_pThis != nullptr, "s_pThis != __null",
                 "static void Kelp::WorkerThreadService::destroyInstance()");
  delete s_pThis;
  s_pThis = nullptr;
}

WorkerThreadService::WorkerThreadService(int numThreads) : m_nextId(0) {
  setObjectType(ObjectType_WorkerThreadService);
  const int stackSize = workerStackSize();
  for (int i = 0; i < numThreads; i++) {
    auto* worker = new WorkerThread(m_requestChannel, stackSize);
    worker->start();
    m_workers.push_back(worker);
  }
}

// The exit messages queue behind the requests, one for each worker: a worker that has read one reads no more.
WorkerThreadService::~WorkerThreadService() {
  for (WorkerThread* worker : m_workers) {
    worker->exit();
  }
  while (!m_workers.empty()) {
    m_workers.front()->join();
    delete m_workers.front();
    m_workers.pop_front();
  }
}

WorkerThreadExecId_t WorkerThreadService::putRequest(RequestToWorkerThread& request, WorkerObserver& observer) {
  EventLooperMultiWait* looper = EventLooper::getRunningLooperMultiWait();
  KELP_ASSERT_AT(109, looper != nullptr, "pLooper != __null",
                 "Kelp::WorkerThreadExecId_t Kelp::WorkerThreadService::putRequest("
                 "Kelp::WorkerThreadService::RequestToWorkerThread&, Kelp::WorkerThreadService::WorkerObserver&)");
  const WorkerThreadExecId_t id = createNextId();
  m_requestChannel.getSender().send(
      *new ExecObjectRequestToWorkerThread(id, request, observer, looper->getExecObjectEventSender()));
  return id;
}

WorkerThreadExecId_t WorkerThreadService::createNextId() {
  const Mutex::ScopedLock lock(m_mutex);
  const WorkerThreadExecId_t id = m_nextId;
  m_nextId = nextExecId(id);
  return id;
}

}  // namespace Kelp
