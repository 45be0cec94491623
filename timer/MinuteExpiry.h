// When a timer has to fire to meet the next whole minute.
#ifndef KELP_TIMER_MINUTE_EXPIRY_H
#define KELP_TIMER_MINUTE_EXPIRY_H

#include <time.h>

namespace Kelp {

// The setting of a relative timer that is made `second` seconds (0 to 59, 60 in a leap second) and `microsecond`
// microseconds (0 to 999,999) into a minute: first at the next whole minute, and every 60 s from there. On a whole
// minute it is the next one that counts.
itimerspec minuteExpiry(int second, long microsecond);

}  // namespace Kelp

#endif  // KELP_TIMER_MINUTE_EXPIRY_H
