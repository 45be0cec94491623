// Building and destroying an object, and asking whether one lives, beside an uncontended lock and unlock.
#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "KelpObject.h"
#include "support/Clock.h"
#include "support/Comparison.h"

using namespace KelpBench;

namespace {

constexpr int kRepetitions = 1000000;

// Every host has threads, and the C library's locks are cheaper, and no locks, in a process that has never had one.
class ParkedThread {
 public:
  ParkedThread() : m_thread([this] { wait(); }) {}
  ~ParkedThread() {
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_isDone = true;
    }
    m_condition.notify_one();
    m_thread.join();
  }

 private:
  void wait() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_condition.wait(lock, [this] { return m_isDone; });
  }

  bool m_isDone = false;
  std::mutex m_mutex;
  std::condition_variable m_condition;
  std::thread m_thread;
};

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

double askForEach(const Population& population) {
  constexpr int kAnswers = 100000;
  const int passes = std::max(1, kAnswers / static_cast<int>(population.size()));
  int living = 0;
  const int64_t start = processCpuNanoseconds();
  for (int pass = 0; pass < passes; ++pass) {
    for (const auto& object : population) {
      living += Kelp::KelpObject::isObjectExist(object.get());
    }
  }
  const int64_t end = processCpuNanoseconds();
  const int asked = passes * static_cast<int>(population.size());
  require(living == asked, "isObjectExist");
  return static_cast<double>(end - start) / asked;
}

}  // namespace

int main() {
  const ParkedThread parkedThread;
  std::vector<double> costs;
  std::vector<double> answerCosts;
  for (const int size : {10, 1000, 100000}) {
    const Population population = populate(size);
    const std::string living = std::to_string(size) + " objects living";
    costs.push_back(compare("Build and destroy an object, " + living, Figure::Nanoseconds, atMost(2.5), buildAndDestroy,
                            lockAndUnlock));
    std::vector<double> rounds;
    for (int round = 0; round < 5; ++round) {
      rounds.push_back(askForEach(population));
    }
    answerCosts.push_back(median(rounds));
  }
  report("Build and destroy: dearest beside cheapest of these", Figure::Nanoseconds, atMost(1.3),
         *std::max_element(costs.begin(), costs.end()), *std::min_element(costs.begin(), costs.end()));
  report("isObjectExist: 100000 objects beside 10", Figure::Nanoseconds, atMost(1.3), answerCosts.back(),
         answerCosts[0]);
}
