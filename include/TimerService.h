// Starts and cancels the process's timers. Each is a timer descriptor in the set of a multi-wait looper, and its
// observer is called on that looper's thread, in line with the looper's other events.
//
// The host creates the service before the first timer and destroys it after the last; observers are not owned and must
// outlive their timers.
//
// Threads: timers are started on the thread of the looper that is to run them, or on any thread before that looper
// runs; cancelled on the looper's thread only. Ids are unique in the process. No lock is held while an observer is
// called.
#ifndef KELP_TIMER_TIMER_SERVICE_H
#define KELP_TIMER_TIMER_SERVICE_H

#include <stdint.h>
#include <sys/time.h>

#include <map>

#include "KelpExport.h"
#include "KelpObject.h"
#include "Mutex.h"

namespace Kelp {

class EventLooperMultiWait;
class TimerEventReceiver;

// Names a timer from its start until it is cancelled. Negative numbers other than -1 are valid ids too.
using TimerId_t = int;

constexpr TimerId_t INVALID_TIMER_ID = -1;

class KELP_EXPORT TimerService : public KelpObject {
 public:
  static constexpr int INVALID_MAX_COUNT = -1;  // notify without limit

  class KELP_EXPORT CyclicTimerObserver {
   public:
    virtual ~CyclicTimerObserver();

    // `count`: how often this timer has notified, this time included. Periods that passed while the loop was busy are
    // not made up for. The timer may be cancelled here, but not at its last count: it then cancels itself.
    virtual void notifyCyclicTimer(TimerId_t timerId, int count) = 0;
  };

  class KELP_EXPORT CyclicTimerByMinutesObserver {
   public:
    virtual ~CyclicTimerByMinutesObserver();

    // `now`: the wall clock's time. The timer may be cancelled here.
    virtual void notifyCyclicTimerByMinutes(TimerId_t timerId, const timeval& now) = 0;
  };

  TimerService(const TimerService&) = delete;
  TimerService& operator=(const TimerService&) = delete;

  // Creating a second service, and getting or destroying one that does not exist, ends the process.
  static void createInstance();
  static TimerService& getInstance();

  // Timers that are still active are neither cancelled nor deleted.
  static void destroyInstance();

  // Notifies every `interval` nanoseconds (1 or more), for the first time one interval from now, `maxCount` times (1 or
  // more, or INVALID_MAX_COUNT), and then cancels itself. `looper` runs the timer; null means the looper running on the
  // calling thread. Ends the process when there is no looper, no descriptor, or an argument is out of range.
  TimerId_t startCyclicTimer(int64_t interval, int maxCount, CyclicTimerObserver& observer,
                             EventLooperMultiWait* looper);
  TimerId_t startCyclicTimer(int64_t interval, CyclicTimerObserver& observer, EventLooperMultiWait* looper);

  // Notifies at every whole minute of local time until it is cancelled, following changes of the clock from one minute
  // to the next. `looper` as above.
  TimerId_t startCyclicTimerByMinutes(CyclicTimerByMinutesObserver& observer, EventLooperMultiWait* looper);

  // Never notifies again, and ends the looper's current dispatch pass, after which the timer's descriptor is closed.
  // INVALID_TIMER_ID is ignored; an id that is not active is ignored after one error line. On the looper's thread only.
  void cancelTimer(TimerId_t id);

  // Enters a receiver, allocated with `new`, under an id of createTimerId() and adds it to the looper (null as above).
  // It is the service's from now on. When the looper refuses it or another timer, after one error line, that timer
  // never notifies and keeps its descriptor; cancelling it ends the process.
  void addEventReceiverToLooper(TimerId_t id, TimerEventReceiver& receiver, EventLooperMultiWait* looper);

  // The next id that no active timer has. Can be called on any thread.
  TimerId_t createTimerId();

 private:
  TimerService();
  ~TimerService() override;

  KELP_LOCAL static TimerService* s_pThis;

  std::map<TimerId_t, TimerEventReceiver*> m_activeTimers;  // guarded by m_mutex, which guards the last id issued too
  Mutex m_mutex;
};

}  // namespace Kelp

#endif  // KELP_TIMER_TIMER_SERVICE_H
