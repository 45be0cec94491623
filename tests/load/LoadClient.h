// One of the many API clients that call the example core at once.
#ifndef KELP_TESTS_LOAD_LOAD_CLIENT_H
#define KELP_TESTS_LOAD_LOAD_CLIENT_H

#include <stdint.h>

#include <atomic>
#include <chrono>
#include <random>
#include <vector>

#include "common/Record.h"
#include "examples/Caller.h"
#include "load/Latencies.h"

namespace KelpTest {

// What is going on meanwhile. Only requests that begin and end within one phase are measured.
enum class Phase { Unmeasured, Calm, OneStopped };

struct ClientBoard {
  CallAccount account;
  Latencies calm;
  Latencies oneStopped;
};

// What the machine has: so many applications, each with preferences that tell them apart.
struct Machine {
  int applications;
  int firstFuncId;
};

class LoadClient {
 public:
  static constexpr int kTimeoutMs = 800;

  // `seed`: of the mix of requests, their sizes, and the pauses between them, which are `pause` on average.
  LoadClient(unsigned seed, std::chrono::microseconds pause, const Machine& machine, const std::atomic<Phase>& phase,
             const std::atomic<bool>& isToEnd, ClientBoard& board);

  // Calls until it is to end. Returns 0 when every request has had its end.
  int run();

 private:
  KelpExample::Record nextRequest();
  bool isRight(const KelpExample::Record& request, const KelpExample::Record& answer);
  bool arePreferencesRight(int installId, const KelpExample::Record& answer);
  bool isListRight(const KelpExample::Record& answer) const;
  void noteLatency(std::chrono::nanoseconds latency);
  int pick(int count);

  const std::chrono::microseconds m_pause;
  const Machine m_machine;
  const std::atomic<Phase>& m_phase;
  const std::atomic<bool>& m_isToEnd;
  ClientBoard& m_board;
  std::mt19937 m_random;
  bool m_isNew;
  Phase m_phaseOfRequest;
  std::vector<size_t> m_preferences;  // hashes of the first answer for each application, which is what all others are
};

}  // namespace KelpTest

#endif  // KELP_TESTS_LOAD_LOAD_CLIENT_H
