#include "TimerEventReceiver.h"

namespace Kelp {

TimerEventReceiver::TimerEventReceiver(TimerId_t timerId) : EventReceiver(true), m_timerId(timerId) {}

TimerEventReceiver::~TimerEventReceiver() = default;

TimerId_t TimerEventReceiver::getTimerId() const {
  return m_timerId;
}

void TimerEventReceiver::cancelMeSafely() {
  TimerService::getInstance().cancelTimer(getTimerId());
}

}  // namespace Kelp
