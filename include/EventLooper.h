// The loop that one thread runs: wait, dispatch, clean up, until it is told to exit.
//
// While it runs, a looper is found from its own thread with getRunningLooper(), so that code called by the loop can
// reach it. What is handed to disposeSafely() is deleted when the current pass is over, which lets a receiver or timer
// do away with itself inside its own callback.
//
// Threads: a looper is built on any thread and runs on one. exitEventLoop(), the queries and the lookups can be called
// on any thread; all else belongs to the thread that runs the loop, or to the one that prepares it before.
#ifndef KELP_EVENT_EVENT_LOOPER_H
#define KELP_EVENT_EVENT_LOOPER_H

#include <pthread.h>

#include <atomic>
#include <list>

#include "KelpExport.h"
#include "KelpObject.h"

namespace Kelp {

class Disposable;
class EventLooperMultiWait;

class KELP_EXPORT EventLooper : public KelpObject {
 public:
  enum EventLooperType : int {
    EVENT_LOOPER_TYPE_MULTI_WAIT = 0,
    EVENT_LOOPER_TYPE_SINGLE_WAIT = 1,
  };

  // Deletes what is still to be disposed of. The loop must have ended.
  ~EventLooper() override;

  EventLooper(const EventLooper&) = delete;
  EventLooper& operator=(const EventLooper&) = delete;

  // Runs the loop on the calling thread until the looper is told to exit; returns at once when it was told before.
  // A thread runs one loop at a time, and a looper on one thread only: a loop inside a loop ends the process.
  void runEventLoop();

  // Tells the loop to end after the current dispatch, for good: a looper that was told never runs again. Does not wake
  // a loop that waits, unless the kind of looper says so. The looper must outlive the call.
  virtual void exitEventLoop();

  // One pass: waits for something to do and does it.
  virtual void processEvent() = 0;

  bool needsExit() const;
  bool isRunning() const;
  EventLooperType getEventLooperType() const;

  // Takes the object over and deletes it after the current pass, and also after the last one; objects go in the order
  // in which they came. Destructors may hand over further objects. On the looper's own thread only.
  void disposeSafely(Disposable& disposable);

  // Whether the loop runs on the thread `id`. A looper that is not running ends the process.
  bool hasEqualThreadId(pthread_t id);

  // The looper that runs on the thread `id`, or on the calling thread; null for none. Not owned: it may be used as long
  // as that loop is sure to run, as it is for code that it calls.
  static EventLooper* getRunningLooper(pthread_t id);
  static EventLooper* getRunningLooper();

  // The same, when it is a multi-wait looper; else null.
  static EventLooperMultiWait* getRunningLooperMultiWait();

 protected:
  explicit EventLooper(EventLooperType type);

 private:
  KELP_LOCAL void registerAsRunning();
  KELP_LOCAL void unregister();
  KELP_LOCAL void emptyGarbageBox();

  const EventLooperType m_type;
  std::atomic<bool> m_needsExit;        // set by any thread, never cleared
  std::list<Disposable*> m_garbageBox;  // owned
  std::atomic<pthread_t> m_threadId;    // of the thread that runs the loop; holds while m_isThreadIdValid
  std::atomic<bool> m_isThreadIdValid;
};

}  // namespace Kelp

#endif  // KELP_EVENT_EVENT_LOOPER_H
