// Reads a fuzzer's input as a sequence of small things. What is missing at the end reads as zero or as nothing, so that
// every input means something.
#ifndef KELP_FUZZ_INPUT_H
#define KELP_FUZZ_INPUT_H

#include <stddef.h>
#include <stdint.h>

#include <string>

namespace KelpFuzz {

class Input {
 public:
  Input(const uint8_t* data, size_t size);

  bool isEmpty() const { return m_pNext == m_pEnd; }
  uint8_t byte();
  uint16_t half();  // little-endian, as the other two
  uint32_t word();
  uint64_t doubleWord();

  // A byte n of 0 to 250, and n bytes of text. Or 251 or 252, a character and a byte m: 1,000 + m times that character,
  // or 43,500 + m times, for the limits of a preference's length lie there.
  std::string text();
  std::string text(size_t size);
  std::string rest();

 private:
  uint64_t number(unsigned int bytes);

  const uint8_t* m_pNext;
  const uint8_t* const m_pEnd;
};

}  // namespace KelpFuzz

#endif  // KELP_FUZZ_INPUT_H
