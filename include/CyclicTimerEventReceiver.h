// A timer of a fixed period, on the monotonic clock.
//
// Threads: as TimerService says of its timers.
#ifndef KELP_TIMER_CYCLIC_TIMER_EVENT_RECEIVER_H
#define KELP_TIMER_CYCLIC_TIMER_EVENT_RECEIVER_H

#include <stdint.h>

#include "KelpExport.h"
#include "TimerEventReceiver.h"
#include "TimerService.h"

namespace Kelp {

class KELP_EXPORT CyclicTimerEventReceiver : public TimerEventReceiver {
 public:
  // Arms the timer at once; arguments as TimerService::startCyclicTimer().
  CyclicTimerEventReceiver(TimerId_t timerId, int64_t interval, int maxCount,
                           TimerService::CyclicTimerObserver& observer);
  ~CyclicTimerEventReceiver() override;

  // Notifies once, however many periods have passed; cancels the timer after the last notification.
  void receiveAndExecuteEvent() override;

 private:
  const int m_maxCount;
  int m_count;  // notifications so far
  TimerService::CyclicTimerObserver& m_observer;
};

}  // namespace Kelp

#endif  // KELP_TIMER_CYCLIC_TIMER_EVENT_RECEIVER_H
