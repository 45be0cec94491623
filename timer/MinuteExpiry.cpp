#include "timer/MinuteExpiry.h"

#include <algorithm>

namespace Kelp {

itimerspec minuteExpiry(int second, long microsecond) {
  // A leap second counts as the 59th: the time left must not turn out negative, or 0, which would disarm the timer.
  const int secondOfMinute = std::min(second, 59);
  itimerspec expiry = {};
  expiry.it_interval.tv_sec = 60;
  if (microsecond != 0) {
    expiry.it_value.tv_sec = 59 - secondOfMinute;
    expiry.it_value.tv_nsec = 1000000000 - 1000 * microsecond;
  } else {
    expiry.it_value.tv_sec = 60 - secondOfMinute;
  }
  return expiry;
}

}  // namespace Kelp
