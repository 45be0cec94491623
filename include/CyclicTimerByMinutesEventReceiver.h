// A timer that fires at every whole minute of local time.
//
// Threads: as TimerService says of its timers.
#ifndef KELP_TIMER_CYCLIC_TIMER_BY_MINUTES_EVENT_RECEIVER_H
#define KELP_TIMER_CYCLIC_TIMER_BY_MINUTES_EVENT_RECEIVER_H

#include "KelpExport.h"
#include "TimerEventReceiver.h"
#include "TimerService.h"

namespace Kelp {

class KELP_EXPORT CyclicTimerByMinutesEventReceiver : public TimerEventReceiver {
 public:
  // Arms the timer at once, for the next whole minute.
  CyclicTimerByMinutesEventReceiver(TimerId_t timerId, TimerService::CyclicTimerByMinutesObserver& observer);
  ~CyclicTimerByMinutesEventReceiver() override;

  // Notifies, and arms the timer for the next whole minute as the wall clock has it then.
  void receiveAndExecuteEvent() override;

 private:
  KELP_LOCAL void resetTimerfd();

  TimerService::CyclicTimerByMinutesObserver& m_observer;
};

}  // namespace Kelp

#endif  // KELP_TIMER_CYCLIC_TIMER_BY_MINUTES_EVENT_RECEIVER_H
