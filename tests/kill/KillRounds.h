// What the tests that kill processes share: how often they do it, at which moments, and what they look at afterwards.
#ifndef KELP_TESTS_KILL_KILL_ROUNDS_H
#define KELP_TESTS_KILL_KILL_ROUNDS_H

#include <stddef.h>
#include <sys/mman.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <new>
#include <random>

namespace KelpTest {

// How many rounds a test has: the environment's KELP_KILL_ROUNDS; where it is not set, as many as take a few seconds.
int killRounds(int ordinary);

// Random moments and choices, from the environment's KELP_KILL_SEED, or the same ones every time.
class Moments {
 public:
  Moments();

  int pick(int count);                          // 0 to count - 1
  void pass(std::chrono::microseconds atMost);  // lets some time go by

 private:
  std::mt19937 m_random;
};

// Asks again and again, without much of a pause, until the answer is true; for 60 seconds at most.
bool becomesTrue(const std::function<bool()>& isTrue);

// How many descriptors a process has open for good: the fewest that are seen during a little while.
size_t descriptorCount(pid_t pid);

// A value that the processes which are forked from now on have in common.
template <typename Value>
class Shared {
 public:
  Shared()
      : m_pValue(new (mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
                     Value()) {}
  ~Shared() { munmap(m_pValue, sizeof(Value)); }
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;

  Value* operator->() const { return m_pValue; }
  Value& operator*() const { return *m_pValue; }

 private:
  Value* m_pValue;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_KILL_KILL_ROUNDS_H
