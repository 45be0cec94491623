// Building and destroying an object, and asking whether one lives, beside an uncontended lock and unlock.
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "KelpObject.h"
#include "support/Clock.h"
#include "support/Comparison.h"

using namespace KelpBench;

namespace {

constexpr int kRepetitions = 1000000;

// Every host has threads, and the C library's locks are cheaper, and no real locks, in a process that never had one.
void startSecondThread() {
  std::thread([] {
    for (;;) {
      pause();
    }
  }).detach();
}

template <typename Operation>
double cpuNanosecondsPerCall(int repetitions, Operation operation) {
  const int64_t start = processCpuNanoseconds();
  for (int i = 0; i < repetitions; ++i) {
    operation();
  }
  return static_cast<double>(processCpuNanoseconds() - start) / repetitions;
}

double lockAndUnlock() {
  static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  return cpuNanosecondsPerCall(kRepetitions, [] {
    pthread_mutex_lock(&mutex);
    pthread_mutex_unlock(&mutex);
  });
}

double buildAndDestroy() {
  return cpuNanosecondsPerCall(kRepetitions, [] { Kelp::KelpObject object; });
}

using Population = std::vector<std::unique_ptr<Kelp::KelpObject>>;

Population populate(int size) {
  Population population;
  for (int i = 0; i < size; ++i) {
    population.push_back(std::make_unique<Kelp::KelpObject>());
  }
  return population;
}

// Asks about ten objects spread over the population, so that the cost of the search shows and not that of fetching more
// objects' memory.
double askWhetherTheyLive(const Population& population) {
  constexpr size_t kAsked = 10;
  constexpr int kQuestions = 1000000;
  const size_t step = population.size() / kAsked;
  size_t next = 0;
  int living = 0;
  const double cost = cpuNanosecondsPerCall(kQuestions, [&] {
    living += Kelp::KelpObject::isObjectExist(population[next * step].get()) ? 1 : 0;
    next = (next + 1) % kAsked;
  });
  require(living == kQuestions, "isObjectExist");
  return cost;
}

}  // namespace

int main() {
  startSecondThread();
  std::vector<double> costs;
  for (const int size : {10, 1000, 100000}) {
    const Population population = populate(size);
    costs.push_back(compare(
        "Object built and destroyed beside " + std::to_string(size) + " living; floor: one uncontended lock and unlock",
        Figure::Nanoseconds, atMost(2.5), buildAndDestroy, lockAndUnlock));
  }
  const auto [cheapest, dearest] = std::minmax_element(costs.begin(), costs.end());
  report("Dearest of these three; floor: the cheapest", Figure::Nanoseconds, atMost(1.3), *dearest, *cheapest);

  const Population few = populate(10);
  for (const int size : {1000, 100000}) {
    const Population many = populate(size);
    compare(
        "isObjectExist, " + std::to_string(size) + " objects living; floor: with 10", Figure::Nanoseconds, atMost(1.3),
        [&] { return askWhetherTheyLive(many); }, [&] { return askWhetherTheyLive(few); });
  }
}
