#include "rpc/QueryStringDecoding.h"

#include <string.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "rpc/WordScan.h"

namespace Kelp {

namespace {

constexpr std::size_t kEscape = 3;  // characters

enum Kind : unsigned char { Kind_Run, Kind_Escape, Kind_LineEnd, Kind_ValueEnd };

struct Tables {
  Kind kind[256];          // of a character in a value
  signed char digit[256];  // hexadecimal; -1: none
};

constexpr std::size_t indexOf(char character) {
  return static_cast<unsigned char>(character);
}

constexpr Tables makeTables() {
  Tables tables{};
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

// Marks what a word of a name cannot be taken over for. Letters, digits and most other characters are above '+'; what
// is below without a meaning is looked at singly.
std::uint64_t specialInName(std::uint64_t word) {
  return bytesBelow(word, '+' + 1) | bytesEqualTo(word, '=');
}

// The same of a value. '+' is none: blanksForPluses() does it for the whole word.
std::uint64_t specialInValue(std::uint64_t word) {
  return bytesBelow(word, '+');
}

std::uint64_t blanksForPluses(std::uint64_t word) {
  return word ^ ((bytesEqualTo(word, '+') >> 7U) * ('+' ^ ' '));
}

bool endsNameRun(char character) {
  return character == '=' || character == '%' || character == '+';
}

// The first character from `cursor` on that a name does not take as it is, or `end`.
const char* nameRunEnd(const char* cursor, const char* end) {
  for (; distance(cursor, end) >= kWord; cursor += kWord) {
    const std::uint64_t word = loadWord(cursor);
    const std::uint64_t marks = specialInName(word);
    if (marks != 0) {
      cursor += firstMarked(marks);
      break;
    }
  }
  return std::find_if(cursor, end, endsNameRun);
}

// Puts the first `count` bytes of the word, which stood at `cursor`. All of it may be stored as long as that covers
// nothing that is still to be read.
void storeBeginning(std::uint64_t word, std::size_t count, const char*& cursor, char*& out) {
  if (distance(out, cursor) + count >= kWord) {
    memcpy(out, &word, kWord);
  } else {
    memcpy(out, &word, count);
  }
  cursor += count;
  out += count;
}

// Copies the characters at `cursor` that need no more than blanks for pluses, of which there is one at least: all of
// them, but for those that look special at first sight, as long as the input has whole words left.
void copyRun(const char*& cursor, const char* end, char*& out) {
  *out++ = *cursor == '+' ? ' ' : *cursor;
  ++cursor;
  while (distance(cursor, end) >= kWord) {
    const std::uint64_t word = loadWord(cursor);
    const std::uint64_t marks = specialInValue(word);
    const std::uint64_t decoded = blanksForPluses(word);
    if (marks != 0) {
      storeBeginning(decoded, firstMarked(marks), cursor, out);
      return;
    }
    memcpy(out, &decoded, kWord);
    cursor += kWord;
    out += kWord;
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
      case Kind_Run:
        copyRun(cursor, end, out);
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
    }
  }
}

}  // namespace Kelp
