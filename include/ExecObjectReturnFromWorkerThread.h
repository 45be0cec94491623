// The answer to a request, on its way back to the loop that asked.
#ifndef KELP_THREAD_EXEC_OBJECT_RETURN_FROM_WORKER_THREAD_H
#define KELP_THREAD_EXEC_OBJECT_RETURN_FROM_WORKER_THREAD_H

#include "ExecObject.h"
#include "KelpExport.h"
#include "WorkerThreadService.h"

namespace Kelp {

class KELP_EXPORT ExecObjectReturnFromWorkerThread : public ExecObject {
 public:
  // Owns neither of the two.
  ExecObjectReturnFromWorkerThread(WorkerThreadExecId_t execId, WorkerThreadService::RequestToWorkerThread& request,
                                   WorkerThreadService::WorkerObserver& observer);
  ~ExecObjectReturnFromWorkerThread() override;

  // Notifies the observer, on the loop's thread.
  void doExecute() override;

 private:
  const WorkerThreadExecId_t m_execId;
  WorkerThreadService::RequestToWorkerThread& m_request;
  WorkerThreadService::WorkerObserver& m_observer;
};

}  // namespace Kelp

#endif  // KELP_THREAD_EXEC_OBJECT_RETURN_FROM_WORKER_THREAD_H
