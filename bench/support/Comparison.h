// Measures Kelp beside its floor and prints the result as a row of a Markdown table.
//
// A side is measured in rounds that alternate with the other side's, after one of each that does not count, so that
// what disturbs the machine disturbs both. The figures are the medians of the rounds.
#ifndef KELP_BENCH_SUPPORT_COMPARISON_H
#define KELP_BENCH_SUPPORT_COMPARISON_H

#include <functional>
#include <string>
#include <vector>

namespace KelpBench {

// Measures one round and returns its figure: nanoseconds for each item, or bytes a second.
using Side = std::function<double()>;

enum class Figure { Nanoseconds, BytesPerSecond };

// What Kelp divided by the floor has to be.
struct Goal {
  enum class Bound { AtMost, AtLeast };
  Bound bound;
  double ratio;
};

constexpr Goal atMost(double ratio) {
  return {Goal::Bound::AtMost, ratio};
}
constexpr Goal atLeast(double ratio) {
  return {Goal::Bound::AtLeast, ratio};
}

// Measures both sides and prints their row; returns Kelp's figure. `name` says what the floor is where that is not the
// same work by plain system calls.
double compare(const std::string& name, Figure figure, Goal goal, const Side& kelp, const Side& floor);

// Prints a row of figures that were measured before.
void report(const std::string& name, Figure figure, Goal goal, double kelp, double floor);

// Prints a row of a figure that has no floor and no goal.
void show(const std::string& name, Figure figure, double kelp);

double median(std::vector<double> values);

// Ends the program when a call that the measurement stands on has failed.
void require(bool condition, const char* what);

}  // namespace KelpBench

#endif  // KELP_BENCH_SUPPORT_COMPARISON_H
