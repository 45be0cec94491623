// What a fuzz target states about a run: where it does not hold, the process ends, and the fuzzer keeps the input.
#ifndef KELP_FUZZ_CHECK_H
#define KELP_FUZZ_CHECK_H

#include <sstream>
#include <string>

namespace KelpFuzz {

[[noreturn]] void fail(const std::string& what, const char* file, int line);

// As a literal would have to be written.
std::string shown(const std::string& text);

template <typename Value>
std::string shown(const Value& value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

template <typename Actual, typename Expected>
void checkEqual(const Actual& actual, const Expected& expected, const char* what, const char* file, int line) {
  if (!(actual == expected)) {
    fail(std::string(what) + "\n  is       " + shown(actual) + "\n  expected " + shown(expected), file, line);
  }
}

}  // namespace KelpFuzz

#define FUZZ_CHECK(condition) \
  ((condition) ? static_cast<void>(0) : KelpFuzz::fail(#condition " does not hold", __FILE__, __LINE__))
#define FUZZ_CHECK_EQ(actual, expected) KelpFuzz::checkEqual(actual, expected, #actual, __FILE__, __LINE__)

#endif  // KELP_FUZZ_CHECK_H
