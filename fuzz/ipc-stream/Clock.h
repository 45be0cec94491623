// The time of the timers: it passes only when it is told to, so that an input runs the same each time and nothing is
// waited for. Timer descriptors are left alone when they are armed; when their time has come, they expire indeed.
#ifndef KELP_FUZZ_CLOCK_H
#define KELP_FUZZ_CLOCK_H

#include <stdint.h>

namespace KelpFuzz {

// All times are in nanoseconds.
class Clock {
 public:
  // Every input starts with no timer, at 0.
  static void reset();

  static int64_t now();
  static void pass(int64_t time);

  // The period that the last timer was given, which has to be its first expiry as well.
  static int64_t lastPeriod();

  // Whether all timers' descriptors are closed.
  static bool isWithoutTimers();
};

}  // namespace KelpFuzz

#endif  // KELP_FUZZ_CLOCK_H
