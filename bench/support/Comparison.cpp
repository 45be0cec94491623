#include "support/Comparison.h"

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>

namespace KelpBench {

namespace {

constexpr int kRounds = 5;

std::string formatted(Figure figure, double value) {
  char text[32];
  if (figure == Figure::BytesPerSecond) {
    snprintf(text, sizeof(text), "%.2f GB/s", value / 1e9);
  } else if (value >= 1e6) {
    snprintf(text, sizeof(text), "%.2f ms", value / 1e6);
  } else if (value >= 1000) {
    snprintf(text, sizeof(text), "%.2f µs", value / 1000);
  } else {
    snprintf(text, sizeof(text), "%.1f ns", value);
  }
  return text;
}

}  // namespace

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void report(const std::string& name, Figure figure, Goal goal, double kelp, double floor) {
  const double ratio = kelp / floor;
  const bool isAtMost = goal.bound == Goal::Bound::AtMost;
  const bool isMet = isAtMost ? ratio <= goal.ratio : ratio >= goal.ratio;
  printf("| %s | %s | %s | %.2f | %s %.2f | %s |\n", name.c_str(), formatted(figure, kelp).c_str(),
         formatted(figure, floor).c_str(), ratio, isAtMost ? "≤" : "≥", goal.ratio, isMet ? "met" : "**missed**");
  fflush(stdout);
}

void show(const std::string& name, Figure figure, double kelp) {
  printf("| %s | %s | | | | |\n", name.c_str(), formatted(figure, kelp).c_str());
  fflush(stdout);
}

double compare(const std::string& name, Figure figure, Goal goal, const Side& kelp, const Side& floor) {
  std::vector<double> kelpRounds;
  std::vector<double> floorRounds;
  kelp();
  floor();
  for (int round = 0; round < kRounds; ++round) {
    kelpRounds.push_back(kelp());
    floorRounds.push_back(floor());
  }
  const double kelpMedian = median(kelpRounds);
  report(name, figure, goal, kelpMedian, median(floorRounds));
  return kelpMedian;
}

void require(bool condition, const char* what) {
  if (!condition) {
    perror(what);
    exit(EXIT_FAILURE);
  }
}

}  // namespace KelpBench
