#include "rpc/QueryStringDecoding.h"

#include <string.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace Kelp {

namespace {

constexpr std::size_t kWord = sizeof(std::uint64_t);
constexpr std::size_t kEscape = 3;  // characters
constexpr std::uint64_t kOnes = 0x0101010101010101;
constexpr std::uint64_t kHighBits = 0x80 * kOnes;

// All characters with a meaning in a value are below it; letters, digits and most others are not.
constexpr unsigned char kFirstPlain = 0x2C;

enum Kind : unsigned char { Kind_Plain, Kind_Blank, Kind_Escape, Kind_LineEnd, Kind_ValueEnd };

struct Tables {
  Kind kind[256];          // of a character in a value
  signed char digit[256];  // hexadecimal; -1: none
};

constexpr std::size_t indexOf(char character) {
  return static_cast<unsigned char>(character);
}

constexpr Tables makeTables() {
  Tables tables{};
  tables.kind[indexOf('+')] = Kind_Blank;
  tables.kind[indexOf('%')] = Kind_Escape;
  tables.kind[indexOf('\r')] = Kind_LineEnd;
  tables.kind[indexOf('\n')] = Kind_LineEnd;
  tables.kind[indexOf('&')] = Kind_ValueEnd;
  for (auto& digit : tables.digit) {
    digit = -1;
  }
  for (unsigned int i = 0; i < 10; ++i) {
    tables.digit[indexOf('0') + i] = static_cast<signed char>(i);
  }
  for (unsigned int i = 0; i < 6; ++i) {
    tables.digit[indexOf('A') + i] = static_cast<signed char>(10 + i);
    tables.digit[indexOf('a') + i] = static_cast<signed char>(10 + i);
  }
  return tables;
}

constexpr Tables kTables = makeTables();

int digitOf(char character) {
  return kTables.digit[indexOf(character)];
}

Kind kindOf(char character) {
  return kTables.kind[indexOf(character)];
}

std::uint64_t loadWord(const char* in) {
  std::uint64_t word = 0;
  memcpy(&word, in, kWord);
  return word;
}

// The high bit of each byte that is below kFirstPlain, and of no other.
std::uint64_t specialBytes(std::uint64_t word) {
  return ~(((word | kHighBits) - kFirstPlain * kOnes) | word) & kHighBits;
}

// The high bit of each byte that is '=', and of no other.
std::uint64_t equalsSigns(std::uint64_t word) {
  const std::uint64_t difference = word ^ ('=' * kOnes);
  return ~(((difference & ~kHighBits) + ~kHighBits) | difference) & kHighBits;
}

// The index, in memory, of the first byte that is marked. REQUIRES: one is.
std::size_t firstMarked(std::uint64_t marks) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  return static_cast<std::size_t>(__builtin_ctzll(marks)) / 8;
#else
  return static_cast<std::size_t>(__builtin_clzll(marks)) / 8;
#endif
}

std::size_t distance(const char* from, const char* to) {
  return static_cast<std::size_t>(to - from);
}

bool endsNameRun(char character) {
  return character == '=' || character == '%' || character == '+';
}

// The first character from `cursor` on that a name does not take as it is, or `end`.
const char* nameRunEnd(const char* cursor, const char* end) {
  for (; distance(cursor, end) >= kWord; cursor += kWord) {
    const std::uint64_t word = loadWord(cursor);
    const std::uint64_t marks = specialBytes(word) | equalsSigns(word);
    if (marks != 0) {
      cursor += firstMarked(marks);
      break;
    }
  }
  return std::find_if(cursor, end, endsNameRun);
}

// Copies the plain characters at `cursor`, of which there is one at least: all of them, but for those that look special
// at first sight, in words as long as the input has whole words left.
void copyPlain(const char*& cursor, const char* end, char*& out) {
  *out++ = *cursor++;
  while (distance(cursor, end) >= kWord) {
    const std::uint64_t word = loadWord(cursor);
    const std::uint64_t marks = specialBytes(word);
    const std::size_t count = marks != 0 ? firstMarked(marks) : kWord;
    // A whole word may be stored as long as it covers nothing that is still to be read.
    if (distance(out, cursor) + count >= kWord) {
      memcpy(out, &word, kWord);
    } else {
      memmove(out, cursor, count);
    }
    cursor += count;
    out += count;
    if (marks != 0) {
      return;
    }
  }
}

// What sscanf's "%02X" makes of two characters that are not both digits: it takes a first digit alone, and passes a
// blank or a sign before a second one.
char unescapeOddPair(char first, char second) {
  if (digitOf(first) >= 0) {
    return static_cast<char>(digitOf(first));
  }
  const int low = std::max(digitOf(second), 0);
  switch (first) {
    case ' ':
    case '\t':
    case '\n':
    case '\v':
    case '\f':
    case '\r':
    case '+':
      return static_cast<char>(low);
    case '-':
      return static_cast<char>(-low);
    default:
      return '\0';
  }
}

char unescape(char first, char second) {
  const int high = digitOf(first);
  const int low = digitOf(second);
  return (high | low) >= 0 ? static_cast<char>(high * 16 + low) : unescapeOddPair(first, second);
}

// Where the input ends inside an escape, the escape ends too.
char decodeEscape(const char*& cursor, const char* end) {
  const std::size_t left = distance(cursor, end);
  if (left < kEscape) {
    const char first = left > 1 ? cursor[1] : '\0';
    cursor = end;
    return unescape(first, '\0');
  }
  const char* const escape = cursor;
  cursor += kEscape;
  return unescape(escape[1], escape[2]);
}

}  // namespace

char decodeCharacter(const char*& cursor, const char* end) {
  switch (*cursor) {
    case '+':
      ++cursor;
      return ' ';
    case '%':
      return decodeEscape(cursor, end);
    default:
      return *cursor++;
  }
}

void decodeName(const char*& cursor, const char* end, std::string& name) {
  const char* run = cursor;
  cursor = nameRunEnd(cursor, end);
  name.assign(run, distance(run, cursor));
  while (cursor != end) {
    const char decoded = decodeCharacter(cursor, end);
    if (decoded == '=') {
      return;
    }
    name += decoded;
    run = cursor;
    cursor = nameRunEnd(cursor, end);
    name.append(run, distance(run, cursor));
  }
}

void decodeValue(const char*& cursor, const char* end, char*& out) {
  while (cursor != end) {
    switch (kindOf(*cursor)) {
      case Kind_Plain:
        copyPlain(cursor, end, out);
        break;
      case Kind_ValueEnd:
        ++cursor;
        return;
      case Kind_LineEnd:
        ++cursor;
        break;
      case Kind_Escape:
        do {
          *out++ = decodeEscape(cursor, end);
        } while (cursor != end && *cursor == '%');
        break;
      case Kind_Blank:
        ++cursor;
        *out++ = ' ';
        break;
    }
  }
}

}  // namespace Kelp
