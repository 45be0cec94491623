// Local time whose minutes begin when a test wants them to.
#ifndef KELP_TESTS_TIMER_LOCAL_MINUTE_H
#define KELP_TESTS_TIMER_LOCAL_MINUTE_H

#include <stdio.h>
#include <stdlib.h>
#include <sys/time.h>
#include <time.h>

namespace KelpTest {

inline timeval wallClock() {
  timeval now = {};
  gettimeofday(&now, nullptr);
  return now;
}

// Sets a time zone that is `seconds` (0 to 59) ahead of universal time.
inline void setLocalTimeAhead(int seconds) {
  char zone[32];
  snprintf(zone, sizeof(zone), "KLP-00:00:%02d", seconds);
  setenv("TZ", zone, 1);
  tzset();
}

// Sets a time zone in which it is now the given second of a minute. Returns how far it is ahead.
inline int setLocalSecond(int second) {
  const int ahead = static_cast<int>((second + 60 - wallClock().tv_sec % 60) % 60);
  setLocalTimeAhead(ahead);
  return ahead;
}

}  // namespace KelpTest

#endif  // KELP_TESTS_TIMER_LOCAL_MINUTE_H
