// One worker of the WorkerThreadService: a thread that serves an exec channel which all workers share, so that each
// object in it is executed by whichever worker is free.
//
// Threads: built, started, joined and destroyed by its owner's thread; run() is the worker's own.
#ifndef KELP_THREAD_WORKER_THREAD_H
#define KELP_THREAD_WORKER_THREAD_H

#include "EventLooperSingleWait.h"
#include "KelpExport.h"
#include "Thread.h"

namespace Kelp {

class ExecObjectEventReceiver;
class ExecObjectEventSender;

class KELP_EXPORT WorkerThread : public Thread {
 public:
  // The channel is not owned and must outlive the worker. `stackSize` as Thread. Workers take no signals.
  WorkerThread(ExecObjectEventReceiver& shared, int stackSize);

  // A worker that was started must have been joined.
  ~WorkerThread() override;

  // Executes what comes through the channel, one after the other, until an exit message does; then ends the thread with
  // this object as its exit value.
  void run() override;

  // Puts one exit message into the channel, behind all that is there; the worker that reads it ends, which need not be
  // this one: a pool ends when each of its workers is told to exit. Blocks while the channel is full.
  void exit();

  // Waits for this worker's thread to end. Ends the process when it cannot be joined, or when it did not end in run().
  void join();

 private:
  EventLooperSingleWait m_eventLooper;
  ExecObjectEventSender* const m_pSharedSender;  // the channel's, lives as long as it
};

}  // namespace Kelp

#endif  // KELP_THREAD_WORKER_THREAD_H
