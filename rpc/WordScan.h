// Looking at eight bytes of text at a time.
#ifndef KELP_RPC_WORD_SCAN_H
#define KELP_RPC_WORD_SCAN_H

#include <string.h>

#include <cstddef>
#include <cstdint>

namespace Kelp {

constexpr std::size_t kWord = sizeof(std::uint64_t);
constexpr std::uint64_t kOnes = 0x0101010101010101;
constexpr std::uint64_t kHighBits = 0x80 * kOnes;

inline std::size_t distance(const char* from, const char* to) {
  return static_cast<std::size_t>(to - from);
}

inline std::uint64_t loadWord(const char* in) {
  std::uint64_t word = 0;
  memcpy(&word, in, kWord);
  return word;
}

// The high bit of each byte that is below `limit`, which is at most 0x80, and of no other.
constexpr std::uint64_t bytesBelow(std::uint64_t word, unsigned char limit) {
  return ~(((word | kHighBits) - limit * kOnes) | word) & kHighBits;
}

// The high bit of each byte that is `character`, which is ASCII, and of no other.
constexpr std::uint64_t bytesEqualTo(std::uint64_t word, unsigned char character) {
  const std::uint64_t difference = word ^ (character * kOnes);
  return ~(((difference & ~kHighBits) + ~kHighBits) | difference) & kHighBits;
}

// The index, in memory, of the first byte that is marked. REQUIRES: one is.
inline std::size_t firstMarked(std::uint64_t marks) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  return static_cast<std::size_t>(__builtin_ctzll(marks)) / 8;
#else
  return static_cast<std::size_t>(__builtin_clzll(marks)) / 8;
#endif
}

// The mask of the first `count` bytes in memory, of which there are fewer than eight.
constexpr std::uint64_t firstBytes(std::size_t count) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  return (std::uint64_t{1} << (8 * count)) - 1;
#else
  return ~(~std::uint64_t{0} >> (8 * count));
#endif
}

}  // namespace Kelp

#endif  // KELP_RPC_WORD_SCAN_H
