// Seeded random values, the same on every machine: nothing here depends on the size of a word or on the C++ library.
//
// Each draw is to stand in a statement of its own: compilers differ in the order in which they evaluate the parts of an
// expression and the arguments of a call.
#ifndef KELP_TESTS_SUPPORT_RANDOM_SOURCE_H
#define KELP_TESTS_SUPPORT_RANDOM_SOURCE_H

#include <stdint.h>

#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace KelpTest {

class RandomSource {
 public:
  explicit RandomSource(uint32_t seed) : m_engine(seed) {}

  uint32_t word() { return static_cast<uint32_t>(m_engine()); }
  uint32_t below(uint32_t limit) { return word() % limit; }
  bool oneIn(uint32_t count) { return below(count) == 0; }
  char byte() { return static_cast<char>(word() % 256); }

  char oneOf(std::string_view characters) { return characters[below(static_cast<uint32_t>(characters.size()))]; }

  template <typename Value>
  const Value& oneOf(const std::vector<Value>& values) {
    return values[below(static_cast<uint32_t>(values.size()))];
  }

  // `size` of these characters.
  std::string text(std::string_view characters, std::size_t size) {
    std::string text(size, ' ');
    for (char& character : text) {
      character = oneOf(characters);
    }
    return text;
  }

 private:
  std::mt19937 m_engine;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_RANDOM_SOURCE_H
