#include "crcCalculator.h"

#include <stdint.h>

namespace Kelp {

namespace {

constexpr uint32_t kPolynomial = 0xEDB88320;  // of CRC-32, its bits in reverse order
constexpr uint32_t kInitialValue = 0xFFFFFFFF;
constexpr unsigned kByteValues = 256;

struct Table {
  uint32_t entries[kByteValues];
};

// What each value of the lowest byte does to the bits above it.
constexpr Table makeTable() {
  Table table = {};
  for (uint32_t byte = 0; byte < kByteValues; ++byte) {
    uint32_t entry = byte;
    for (int bit = 0; bit < 8; ++bit) {
      entry = (entry & 1) != 0 ? (entry >> 1) ^ kPolynomial : entry >> 1;
    }
    table.entries[byte] = entry;
  }
  return table;
}

constexpr Table kTable = makeTable();

}  // namespace

crcCalculator::crcCalculator() = default;
crcCalculator::~crcCalculator() = default;

unsigned short crcCalculator::getCRC(const unsigned char* data, unsigned long length) {
  uint32_t crc = kInitialValue;
  for (const unsigned char* const end = data + length; data != end; ++data) {
    crc = kTable.entries[(crc ^ *data) & 0xFF] ^ (crc >> 8);
  }
  return static_cast<unsigned short>(~crc & 0xFFFF);
}

bool crcCalculator::checkCRC(const unsigned char* data, unsigned long length, unsigned short crc) {
  return getCRC(data, length) == crc;
}

}  // namespace Kelp
