// Runs blocking jobs off the event loops: a loop puts a request, one of the service's worker threads executes it, and
// the observer is told on the loop that asked.
//
// All workers take their work from one channel in the order in which it was put; with several of them, requests that
// overlap may end in any order, which is why each has an id.
//
// The channel holds as many requests as a pipe of 64 KiB has room for pointers: 8,192 on 64 bits, 16,384 on 32.
// putRequest() waits while it is full. The way back to a loop is a channel of the same size, and a worker waits while
// that is full. A loop that waits for the workers while they wait for it stands still for ever: let the loops together
// have no more requests under way than one channel holds.
//
// A job runs on a stack of 16384 bytes (more where a sanitizer or the machine demands it), which has to do for all that
// it calls. The thread itself takes 5 KiB of it (more where the program has large thread-local data), and a line in the
// log, as the longest of the calls into Kelp, up to 5 KiB; a platform's own logger has to do with that too. A job
//   - may have 4 KiB of frames of its own when it logs or calls Kelp; may read, write, wait and lock; may allocate, and
//     should keep its buffers there (std::string, std::vector);
//   - may not recurse deeply, nor have large arrays on the stack, nor call what does: JSON and other recursive parsers,
//     regular expressions, host name look-ups, loading a library or a locale;
//   - may not let an exception out, nor end its thread, nor wait for a signal: all of them are blocked;
//   - may not put requests, start timers or use what else belongs to a multi-wait loop: the loop that it runs in is of
//     another kind. It reaches a loop through that loop's exec channel.
// A job that overruns its stack ends the process with a segmentation fault. So may a failed `new` of the job's own: to
// look for a handler of it takes more stack than there may be. One of Kelp's own there ends it with an assertion.
//
// Threads: created and destroyed by the host, not on a worker; putRequest() on any thread that runs a multi-wait loop.
// No lock is held while a job or an observer runs.
#ifndef KELP_THREAD_WORKER_THREAD_SERVICE_H
#define KELP_THREAD_WORKER_THREAD_SERVICE_H

#include <stdint.h>

#include <list>

#include "ExecObjectEventReceiver.h"
#include "KelpExport.h"
#include "KelpObject.h"
#include "Mutex.h"

namespace Kelp {

class WorkerThread;

// Names a request. The first of a service is 0, each following one greater by 1; behind 2147483647 comes -2147483648.
using WorkerThreadExecId_t = int32_t;

class KELP_EXPORT WorkerThreadService : public KelpObject {
 public:
  // A job. Not owned; it must live until its observer has been notified.
  class KELP_EXPORT RequestToWorkerThread {
   public:
    virtual ~RequestToWorkerThread();

    // Called once, on a worker thread, with the limits above.
    virtual void executeInWorkerThread() = 0;
  };

  // Is told when a job is done. Not owned; it must live until then.
  class KELP_EXPORT WorkerObserver {
   public:
    virtual ~WorkerObserver();

    // Called once, on the thread of the loop that put the request; what the job wrote is visible here. The service does
    // not touch the request any more: it may be deleted.
    virtual void notifyFromWorkerThread(WorkerThreadExecId_t execId, RequestToWorkerThread& request) = 0;
  };

  WorkerThreadService(const WorkerThreadService&) = delete;
  WorkerThreadService& operator=(const WorkerThreadService&) = delete;

  // Starts `numThreads` workers. With fewer than 1 there is none: requests stay in the channel and are never served.
  // Creating a second service, and getting or destroying one that does not exist, ends the process.
  static void createInstance(int numThreads);
  static WorkerThreadService& getInstance();

  // Blocks until the workers have executed all that was put before, and ended. The answers are then on their way: a
  // loop that keeps running notifies its observers. Not to be called on a loop's thread while the answers to that loop
  // are more than its channel holds. Nobody may put a request meanwhile. A worker that the channel refuses to tell,
  // after one error line, is waited for without end.
  static void destroyInstance();

  // Has the request executed; returns at once with its id unless the channel is full. The calling thread must run a
  // multi-wait loop, or the process ends; that looper must live until the observer has been notified. A request that
  // the channel refuses, or whose way back does, is lost after one error line: the observer is not notified.
  WorkerThreadExecId_t putRequest(RequestToWorkerThread& request, WorkerObserver& observer);

  // Takes the next id. Can be called on any thread.
  WorkerThreadExecId_t createNextId();

 private:
  explicit WorkerThreadService(int numThreads);
  ~WorkerThreadService() override;

  KELP_LOCAL static WorkerThreadService* s_pThis;

  ExecObjectEventReceiver m_requestChannel;  // served by every worker
  WorkerThreadExecId_t m_nextId;             // guarded by m_mutex
  std::list<WorkerThread*> m_workers;        // owned
  Mutex m_mutex;
};

}  // namespace Kelp

#endif  // KELP_THREAD_WORKER_THREAD_SERVICE_H
