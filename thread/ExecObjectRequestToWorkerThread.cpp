#include "ExecObjectRequestToWorkerThread.h"

#include "ExecObjectEventSender.h"
#include "ExecObjectReturnFromWorkerThread.h"

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
  m_returnSender.send(*new ExecObjectReturnFromWorkerThread(m_execId, m_request, m_observer));
}

}  // namespace Kelp
