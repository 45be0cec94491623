#include "ExecObjectRequestToWorkerThread.h"

#include <new>

#include "ExecObjectEventSender.h"
#include "ExecObjectReturnFromWorkerThread.h"
#include "foundation/RequireMemory.h"

namespace Kelp {

ExecObjectRequestToWorkerThread::ExecObjectRequestToWorkerThread(WorkerThreadExecId_t execId,
                                                                 WorkerThreadService::RequestToWorkerThread& request,
                                                                 WorkerThreadService::WorkerObserver& observer,
                                                                 ExecObjectEventSender& returnSender)
    : m_execId(execId), m_request(request), m_observer(observer), m_returnSender(returnSender) {
  setObjectType(ObjectType_ExecObjectRequestToWorkerThread);
}

ExecObjectRequestToWorkerThread::~ExecObjectRequestToWorkerThread() = default;

void ExecObjectRequestToWorkerThread::doExecute() {
  m_request.executeInWorkerThread();
  auto* const answer = new (std::nothrow) ExecObjectReturnFromWorkerThread(m_execId, m_request, m_observer);
  requireMemory(answer);
  m_returnSender.send(*answer);
}

}  // namespace Kelp
