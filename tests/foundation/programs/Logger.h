// A platform's logger that keeps what it is given.
#ifndef KELP_TESTS_FOUNDATION_LOGGER_H
#define KELP_TESTS_FOUNDATION_LOGGER_H

#include <string>
#include <vector>

namespace KelpTest {

struct LoggedCall {
  unsigned int level;
  std::string format;  // as passed, not yet formatted
};

std::vector<LoggedCall>& loggedCalls();

}  // namespace KelpTest

#endif  // KELP_TESTS_FOUNDATION_LOGGER_H
