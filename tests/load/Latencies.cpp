#include "load/Latencies.h"

#include <algorithm>
#include <numeric>

namespace KelpTest {

namespace {

// Each power of two is divided into as many buckets of equal width.
constexpr unsigned kStepBits = 5;
constexpr size_t kSteps = 1u << kStepBits;

size_t bucketOf(uint64_t value) {
  unsigned shift = 0;
  while (value >> shift >= 2 * kSteps) {
    ++shift;
  }
  return std::min(shift * kSteps + static_cast<size_t>(value >> shift), Latencies::kBuckets - 1);
}

uint64_t middleOf(size_t bucket) {
  if (bucket < 2 * kSteps) {
    return bucket;
  }
  const size_t shift = bucket / kSteps - 1;
  const uint64_t low = uint64_t{bucket - shift * kSteps} << shift;
  return low + (uint64_t{1} << shift) / 2;
}

}  // namespace

void Latencies::note(std::chrono::nanoseconds latency) {
  const auto value = static_cast<uint64_t>(std::max<int64_t>(latency.count(), 0));
  m_counts[bucketOf(value)].fetch_add(1, std::memory_order_relaxed);
}

void Latencies::addTo(Counts& counts) const {
  for (size_t i = 0; i < kBuckets; ++i) {
    counts[i] += m_counts[i].load(std::memory_order_relaxed);
  }
}

Latencies::Counts operator-(const Latencies::Counts& after, const Latencies::Counts& before) {
  Latencies::Counts difference = {};
  std::transform(after.begin(), after.end(), before.begin(), difference.begin(), std::minus<>());
  return difference;
}

Latencies::Counts& operator+=(Latencies::Counts& sum, const Latencies::Counts& counts) {
  std::transform(sum.begin(), sum.end(), counts.begin(), sum.begin(), std::plus<>());
  return sum;
}

uint64_t totalOf(const Latencies::Counts& counts) {
  return std::accumulate(counts.begin(), counts.end(), uint64_t{0});
}

std::chrono::nanoseconds quantileOf(const Latencies::Counts& counts, double part) {
  const auto wanted = static_cast<uint64_t>(part * static_cast<double>(totalOf(counts)));
  uint64_t seen = 0;
  for (size_t i = 0; i < counts.size(); ++i) {
    seen += counts[i];
    if (seen > wanted) {
      return std::chrono::nanoseconds(middleOf(i));
    }
  }
  return std::chrono::nanoseconds(0);
}

}  // namespace KelpTest
