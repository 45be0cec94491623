#include "timer/NextTimerId.h"

#include <climits>

namespace Kelp {

namespace {

TimerId_t successorOf(TimerId_t id) {
  if (id == INT_MAX) {
    return INT_MIN;
  }
  return id + 1 == INVALID_TIMER_ID ? 0 : id + 1;
}

}  // namespace

TimerId_t nextTimerId(TimerId_t lastId, const std::map<TimerId_t, TimerEventReceiver*>& activeTimers) {
  TimerId_t candidate = successorOf(lastId);
  while (activeTimers.count(candidate) != 0) {
    candidate = successorOf(candidate);
  }
  return candidate;
}

}  // namespace Kelp
