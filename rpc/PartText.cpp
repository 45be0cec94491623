#include "rpc/PartText.h"

#include <string.h>

#include <algorithm>
#include <cstddef>

#include "rpc/TextPacking.h"
#include "rpc/WordScan.h"

namespace Kelp {

namespace {

// Small enough for the nearest cache, which the second and later looks at the same bytes then read.
constexpr std::size_t kBlock = std::size_t{16} * 1024;

bool hasNul(const char* from, const char* end) {
  return memchr(from, '\0', distance(from, end)) != nullptr;
}

// The first boundary that starts in [from, blockEnd), and ends before `end`; null when there is none.
char* findBoundary(char* from, const char* blockEnd, const char* end, const std::string& boundary) {
  while (from != blockEnd) {
    auto* const start = static_cast<char*>(memchr(from, boundary.front(), distance(from, blockEnd)));
    if (start == nullptr) {
      return nullptr;
    }
    if (distance(start, end) >= boundary.size() && memcmp(start, boundary.data(), boundary.size()) == 0) {
      return start;
    }
    from = start + 1;
  }
  return nullptr;
}

}  // namespace

// Looks for a NUL only as far as the text goes: many parts do not make a long body be searched as many times.
char* findText(char* from, char* end, std::string_view text) {
  auto* const found = static_cast<char*>(memmem(from, distance(from, end), text.data(), text.size()));
  return found == nullptr || hasNul(from, found) ? nullptr : found;
}

char* packPart(char* from, char* end, const std::string& boundary, char*& out) {
  while (from != end) {
    char* const blockEnd = from + std::min(kBlock, distance(from, end));
    char* const next = findBoundary(from, blockEnd, end, boundary);
    const char* const stop = next != nullptr ? next : blockEnd;
    if (hasNul(from, stop)) {
      return nullptr;
    }
    out = packText(from, stop, out, "\n\r");
    if (next != nullptr) {
      return next;
    }
    from = blockEnd;
  }
  return nullptr;
}

}  // namespace Kelp
