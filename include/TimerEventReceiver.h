// A timer as its looper sees it: the receiver that owns the timer's descriptor. TimerService makes and keeps these; a
// cancelled one is deleted by its looper after the current pass.
//
// Threads: as TimerService says of its timers.
#ifndef KELP_TIMER_TIMER_EVENT_RECEIVER_H
#define KELP_TIMER_TIMER_EVENT_RECEIVER_H

#include "Disposable.h"
#include "EventReceiver.h"
#include "KelpExport.h"
#include "TimerService.h"

namespace Kelp {

class KELP_EXPORT TimerEventReceiver : public EventReceiver, public Disposable {
 public:
  // Without a descriptor until setFd(); closes it when destroyed.
  explicit TimerEventReceiver(TimerId_t timerId);
  ~TimerEventReceiver() override;

  TimerId_t getTimerId() const;

  // Cancels this timer; can be called inside its own callback. The object stays valid until the current pass is over.
  void cancelMeSafely();

 private:
  const TimerId_t m_timerId;
};

}  // namespace Kelp

#endif  // KELP_TIMER_TIMER_EVENT_RECEIVER_H
