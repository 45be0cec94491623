// The two clocks that benchmarks read.
#ifndef KELP_BENCH_SUPPORT_CLOCK_H
#define KELP_BENCH_SUPPORT_CLOCK_H

#include <stdint.h>

namespace KelpBench {

// Nanoseconds that never run backwards, for latencies.
int64_t monotonicNanoseconds();

// CPU time in nanoseconds that all threads of this process have used, for rates: what others run meanwhile does not
// count.
int64_t processCpuNanoseconds();

}  // namespace KelpBench

#endif  // KELP_BENCH_SUPPORT_CLOCK_H
