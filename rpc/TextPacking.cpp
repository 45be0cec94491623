#include "rpc/TextPacking.h"

#include <string.h>

#include <cstddef>

#include "rpc/WordScan.h"

namespace Kelp {

namespace {

// The C library's searches and moves are the fastest that each processor has.
const char* findOrEnd(const char* from, const char* end, char character) {
  const auto* const found = static_cast<const char*>(memchr(from, character, distance(from, end)));
  return found != nullptr ? found : end;
}

char* move(const char* from, const char* end, char* out) {
  memmove(out, from, distance(from, end));
  return out + distance(from, end);
}

// What `dropped` leaves of a piece of text that does not hold the characters before them.
char* packPiece(const char* from, const char* end, char* out, std::string_view dropped) {
  if (dropped.size() > 1) {
    return packText(from, end, out, dropped);
  }
  while (from != end) {
    const char* const pieceEnd = findOrEnd(from, end, dropped.front());
    if (from != pieceEnd) {
      out = move(from, pieceEnd, out);
    }
    from = pieceEnd != end ? pieceEnd + 1 : end;
  }
  return out;
}

}  // namespace

char* packText(const char* from, const char* end, char* out, std::string_view dropped) {
  while (from != end) {
    const char* const pieceEnd = findOrEnd(from, end, dropped.front());
    if (from != pieceEnd) {
      out = packPiece(from, pieceEnd, out, dropped.substr(1));
    }
    from = pieceEnd != end ? pieceEnd + 1 : end;
  }
  return out;
}

}  // namespace Kelp
