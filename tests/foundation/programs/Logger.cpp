#include "foundation/programs/Logger.h"

#include "PfLog.h"

namespace KelpTest {

std::vector<LoggedCall>& loggedCalls() {
  static std::vector<LoggedCall> calls;
  return calls;
}

}  // namespace KelpTest

extern "C" int PfLogPrintf(unsigned int level, const char* format, ...) {
  KelpTest::loggedCalls().push_back({level, format});
  return 0;
}
