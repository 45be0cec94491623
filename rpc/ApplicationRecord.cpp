#include "rpc/ApplicationRecord.h"

#include <endian.h>
#include <string.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "ApplicationInfoList.h"

namespace Kelp {

namespace {

constexpr int kUnused = -1;

template <std::size_t Size>
void putText(const char* text, char (&field)[Size]) {
  const std::size_t length = strnlen(text, Size);
  memcpy(field, text, length);
  memset(field + length, 0, Size - length);
}

}  // namespace

ApplicationRecord::ApplicationRecord(const ApplicationInfoList_t& entry)
    : firstWord(littleEndian(entry.firstWord)), secondWord(littleEndian(entry.secondWord)) {
  putText(entry.text.c_str(), text);
  std::transform(std::begin(entry.words), std::end(entry.words), words, littleEndian);
  for (std::size_t i = 0; i < std::size(pairs); ++i) {
    const bool isUsed = i < entry.pairs.size();
    pairs[i].first = littleEndian(isUsed ? entry.pairs[i].first : kUnused);
    pairs[i].second = littleEndian(isUsed ? entry.pairs[i].second : kUnused);
  }
  for (std::size_t i = 0; i < std::size(slots); ++i) {
    const bool isUsed = i < entry.slots.size();
    slots[i].word = littleEndian(isUsed ? entry.slots[i].first : kUnused);
    putText(isUsed ? entry.slots[i].second.c_str() : "", slots[i].text);
  }
}

std::uint32_t littleEndian(int value) {
  return htole32(static_cast<std::uint32_t>(value));
}

}  // namespace Kelp
