// An API client that goes on calling the example core whatever happens to others, in a process of its own.
#ifndef KELP_TESTS_KILL_STEADY_CALLER_H
#define KELP_TESTS_KILL_STEADY_CALLER_H

#include <stdint.h>

#include "examples/Caller.h"
#include "ipc/IpcTestSupport.h"
#include "kill/KillRounds.h"

namespace KelpTest {

class SteadyCaller {
 public:
  // `seed`: of the mix of requests. Every one of them asks for something, and its answer is known.
  SteadyCaller(unsigned seed, int timeoutMs, bool isSenderKept);

  const CallAccount& account() const;
  pid_t pid() const;

  // Right answers have come since there were so many.
  bool hasGoneOnSince(uint64_t answered) const;

  // Whether a request has left that has no end yet.
  bool isWaiting() const;

  void stop();  // returns when it has stopped
  void goOn();

  // Kills it: the status of its end.
  int kill();

  // Lets it end between two requests. Returns its exit status.
  int end();

 private:
  int call(unsigned seed, int timeoutMs, bool isSenderKept) const;

  struct Board {
    CallAccount account;
    std::atomic<bool> isToEnd{false};
  };

  const Shared<Board> m_board;
  ChildProcess m_process;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_KILL_STEADY_CALLER_H
