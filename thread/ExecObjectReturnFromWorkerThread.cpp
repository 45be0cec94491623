#include "ExecObjectReturnFromWorkerThread.h"

namespace Kelp {

ExecObjectReturnFromWorkerThread::ExecObjectReturnFromWorkerThread(WorkerThreadExecId_t execId,
                                                                   WorkerThreadService::RequestToWorkerThread& request,
                                                                   WorkerThreadService::WorkerObserver& observer)
    : m_execId(execId), m_request(request), m_observer(observer) {
  setObjectType(ObjectType_ExecObjectReturnFromWorkerThread);
}

ExecObjectReturnFromWorkerThread::~ExecObjectReturnFromWorkerThread() = default;

void ExecObjectReturnFromWorkerThread::doExecute() {
  m_observer.notifyFromWorkerThread(m_execId, m_request);
}

}  // namespace Kelp
