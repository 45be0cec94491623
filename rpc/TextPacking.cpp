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

// Copies what stands before the first character that may have to be dropped, as far as the input has whole words.
void copyRun(const char*& from, const char* end, char*& out, unsigned char limit) {
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
