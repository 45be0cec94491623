#include "support/Clock.h"

#include <time.h>

namespace KelpBench {

namespace {

int64_t read(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
}

}  // namespace

int64_t monotonicNanoseconds() {
  return read(CLOCK_MONOTONIC);
}

int64_t processCpuNanoseconds() {
  return read(CLOCK_PROCESS_CPUTIME_ID);
}

}  // namespace KelpBench
