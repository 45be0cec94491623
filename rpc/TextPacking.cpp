#include "rpc/TextPacking.h"

#include <string.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "rpc/WordScan.h"

namespace Kelp {

namespace {

bool hasAny(const char* from, const char* end, std::string_view characters) {
  return std::any_of(characters.begin(), characters.end(),
                     [&](char character) { return memchr(from, character, distance(from, end)) != nullptr; });
}

// The compilers make the machine's own vectors of it, or words where there are none.
using Vector = unsigned char __attribute__((vector_size(16)));
constexpr std::size_t kVectorPair = 2 * sizeof(Vector);

// Copies pairs of vectors as long as no byte in them is below `limit`.
void copyVectors(const char*& from, const char* end, char*& out, unsigned char limit) {
  const Vector limits = Vector{} + limit;
  while (distance(from, end) >= kVectorPair) {
    Vector pair[2];
    memcpy(pair, from, kVectorPair);
    const auto below = (pair[0] < limits) | (pair[1] < limits);
    std::uint64_t halves[2];
    memcpy(halves, &below, sizeof(halves));
    if ((halves[0] | halves[1]) != 0) {
      return;
    }
    memcpy(out, pair, kVectorPair);
    from += kVectorPair;
    out += kVectorPair;
  }
}

// Copies what stands before the first byte that is below `limit`, as far as the input has whole words.
void copyRun(const char*& from, const char* end, char*& out, unsigned char limit) {
  copyVectors(from, end, out, limit);
  while (distance(from, end) >= kWord) {
    const std::uint64_t word = loadWord(from);
    const std::uint64_t marks = bytesBelow(word, limit);
    if (marks == 0) {
      memcpy(out, &word, kWord);
      from += kWord;
      out += kWord;
      continue;
    }
    const std::size_t count = firstMarked(marks);
    const std::uint64_t copied = firstBytes(count);
    const std::uint64_t merged = (word & copied) | (loadWord(out) & ~copied);
    memcpy(out, &merged, kWord);
    from += count;
    out += count;
    return;
  }
}

}  // namespace

char* packText(const char* from, const char* end, char* out, std::string_view dropped) {
  if (from == end) {
    return out;
  }
  if (!hasAny(from, end, dropped)) {
    memmove(out, from, distance(from, end));
    return out + distance(from, end);
  }
  const auto limit = static_cast<unsigned char>(*std::max_element(dropped.begin(), dropped.end()) + 1);
  while (from != end) {
    copyRun(from, end, out, limit);
    for (; from != end && dropped.find(*from) != std::string_view::npos; ++from) {
    }
    if (from != end) {
      *out++ = *from++;
    }
  }
  return out;
}

}  // namespace Kelp
