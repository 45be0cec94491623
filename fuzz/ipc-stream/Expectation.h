// What handlers are to be told, and what is to be logged.
#ifndef KELP_FUZZ_EXPECTATION_H
#define KELP_FUZZ_EXPECTATION_H

#include <string>
#include <vector>

#include "fuzz/ipc-stream/Stream.h"
#include "fuzz/support/Platform.h"
#include "tests/ipc/WireMessage.h"

namespace KelpFuzz {

class Expectation {
 public:
  // `handlers`: bits 0 to 2 for the requests, bits 3 to 5 for the one-way requests of the three types of source.
  explicit Expectation(unsigned int handlers) : m_handlers(handlers) {}

  // The message is read next; `isAwaited` tells of its session. Returns the expression of the assertion that it ends
  // on, or "".
  std::string read(const KelpTest::WireMessage& message, bool isAwaited);

  // The format has at most one number.
  void logged(const char* format, int number = 0);
  void loggedRemoval(const void* handler);

  // A handler has been told this.
  void checkTold(const Told& told);
  void checkNobodyWaits() const;  // to be told
  void checkLog();

 private:
  std::string readRequest(const KelpTest::WireMessage& message);

  const unsigned int m_handlers;
  std::vector<Told> m_told;  // one at most
  LogLines m_log;
  std::vector<std::string> m_lines;
};

}  // namespace KelpFuzz

#endif  // KELP_FUZZ_EXPECTATION_H
