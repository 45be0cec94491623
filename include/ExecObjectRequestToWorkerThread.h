// A request on its way to a worker thread.
#ifndef KELP_THREAD_EXEC_OBJECT_REQUEST_TO_WORKER_THREAD_H
#define KELP_THREAD_EXEC_OBJECT_REQUEST_TO_WORKER_THREAD_H

#include "ExecObject.h"
#include "KelpExport.h"
#include "WorkerThreadService.h"

namespace Kelp {

class ExecObjectEventSender;

class KELP_EXPORT ExecObjectRequestToWorkerThread : public ExecObject {
 public:
  // Owns none of them. `returnSender` leads to the loop that asked.
  ExecObjectRequestToWorkerThread(WorkerThreadExecId_t execId, WorkerThreadService::RequestToWorkerThread& request,
                                  WorkerThreadService::WorkerObserver& observer, ExecObjectEventSender& returnSender);
  ~ExecObjectRequestToWorkerThread() override;

  // Executes the request, on the worker's thread, and sends the answer. Blocks while the way back is full.
  void doExecute() override;

 private:
  const WorkerThreadExecId_t m_execId;
  WorkerThreadService::RequestToWorkerThread& m_request;
  WorkerThreadService::WorkerObserver& m_observer;
  ExecObjectEventSender& m_returnSender;
};

}  // namespace Kelp

#endif  // KELP_THREAD_EXEC_OBJECT_REQUEST_TO_WORKER_THREAD_H
