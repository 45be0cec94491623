// A POSIX thread with a stack size of choice, optionally out of reach of signals.
//
// Derived classes give the thread's work as run(). Threads: built, started and destroyed by the owner's thread, which
// must have joined a started thread before it destroys the object: nothing here joins or detaches.
#ifndef KELP_THREAD_THREAD_H
#define KELP_THREAD_THREAD_H

#include <pthread.h>

#include "KelpExport.h"
#include "KelpObject.h"

namespace Kelp {

class KELP_EXPORT Thread : public KelpObject {
 public:
  // `blockAllSignals`: the new thread takes no signal that can be blocked. `stackSize`: bytes, at least the platform's
  // smallest (sysconf(_SC_THREAD_STACK_MIN)); the C library keeps its own thread data in it too.
  Thread(bool blockAllSignals, int stackSize);
  ~Thread() override;

  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  // Starts the thread, joinable; called once. Ends the process where the stack size or the system allows no thread.
  void start();

  // What the new thread does: blocks the signals where that is wanted, then calls run().
  void runMain();

  // The thread's work, called on the new thread.
  virtual void run() = 0;

  // The started thread, before that the thread that built the object. The new thread itself asks pthread_self().
  pthread_t getThreadId() const;

 private:
  KELP_LOCAL static void* startRoutine(void* thread);

  const int m_stackSize;
  const bool m_blocksAllSignals;
  pthread_t m_threadId;  // written by start()
};

}  // namespace Kelp

#endif  // KELP_THREAD_THREAD_H
