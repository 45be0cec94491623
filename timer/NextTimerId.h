// Which id the next timer gets.
#ifndef KELP_TIMER_NEXT_TIMER_ID_H
#define KELP_TIMER_NEXT_TIMER_ID_H

#include <map>

#include "TimerService.h"

namespace Kelp {

// The first id after `lastId` that is neither INVALID_TIMER_ID nor active: one more, from 2147483647 on to -2147483648,
// and from -2 on to 0.
TimerId_t nextTimerId(TimerId_t lastId, const std::map<TimerId_t, TimerEventReceiver*>& activeTimers);

}  // namespace Kelp

#endif  // KELP_TIMER_NEXT_TIMER_ID_H
