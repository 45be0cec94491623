#include "kill/KillRounds.h"

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>

namespace KelpTest {

namespace {

using std::chrono::microseconds;

constexpr std::chrono::seconds kPatience{60};
constexpr microseconds kPause{100};
constexpr int kSamples = 50;

int numberIn(const char* variable, int otherwise) {
  const char* const text = getenv(variable);
  return text == nullptr ? otherwise : static_cast<int>(strtol(text, nullptr, 10));
}

size_t openDescriptors(pid_t pid) {
  std::error_code error;  // the process may just end
  const std::filesystem::directory_iterator entries("/proc/" + std::to_string(pid) + "/fd", error);
  return error ? 0 : static_cast<size_t>(std::distance(entries, std::filesystem::directory_iterator()));
}

}  // namespace

int killRounds(int ordinary) {
  return numberIn("KELP_KILL_ROUNDS", ordinary);
}

Moments::Moments() : m_random(static_cast<unsigned>(numberIn("KELP_KILL_SEED", 1))) {}

int Moments::pick(int count) {
  return std::uniform_int_distribution<int>(0, count - 1)(m_random);
}

void Moments::pass(microseconds atMost) {
  std::this_thread::sleep_for(microseconds(std::uniform_int_distribution<int64_t>(0, atMost.count())(m_random)));
}

bool becomesTrue(const std::function<bool()>& isTrue) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!isTrue()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(kPause);
  }
  return true;
}

size_t descriptorCount(pid_t pid) {
  size_t count = openDescriptors(pid);
  for (int i = 0; i < kSamples; ++i) {
    std::this_thread::sleep_for(kPause);
    count = std::min(count, openDescriptors(pid));
  }
  return count;
}

}  // namespace KelpTest
