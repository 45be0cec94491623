// Counts of latencies, from which quantiles follow: to 3 %, whatever their size, in memory that processes can share.
#ifndef KELP_TESTS_LOAD_LATENCIES_H
#define KELP_TESTS_LOAD_LATENCIES_H

#include <stddef.h>
#include <stdint.h>

#include <array>
#include <atomic>
#include <chrono>

namespace KelpTest {

class Latencies {
 public:
  static constexpr size_t kBuckets = 1024;
  using Counts = std::array<uint64_t, kBuckets>;

  // By one process; the others read.
  void note(std::chrono::nanoseconds latency);
  void addTo(Counts& counts) const;

 private:
  std::atomic<uint32_t> m_counts[kBuckets] = {};
};

Latencies::Counts operator-(const Latencies::Counts& after, const Latencies::Counts& before);
Latencies::Counts& operator+=(Latencies::Counts& sum, const Latencies::Counts& counts);

uint64_t totalOf(const Latencies::Counts& counts);

// The latency that `part` (0 to 1) of all do not exceed; 0 where there are none.
std::chrono::nanoseconds quantileOf(const Latencies::Counts& counts, double part);

}  // namespace KelpTest

#endif  // KELP_TESTS_LOAD_LATENCIES_H
