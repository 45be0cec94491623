// The checksum of 128 KiB, the largest preference file, beside the same byte-wise table compiled here.
#include <stdint.h>

#include <random>
#include <vector>

#include "crcCalculator.h"
#include "support/Clock.h"
#include "support/Comparison.h"

using namespace KelpBench;

namespace {

constexpr size_t kBlockSize = 131072;
constexpr int kRepetitions = 200;

std::vector<uint32_t> makeTable() {
  std::vector<uint32_t> table(256);
  for (uint32_t byte = 0; byte < table.size(); ++byte) {
    uint32_t entry = byte;
    for (int bit = 0; bit < 8; ++bit) {
      entry = (entry & 1) != 0 ? (entry >> 1) ^ 0xEDB88320 : entry >> 1;
    }
    table[byte] = entry;
  }
  return table;
}

unsigned short plainCrc(const uint32_t* table, const unsigned char* data, size_t length) {
  uint32_t crc = 0xFFFFFFFF;
  for (size_t i = 0; i < length; ++i) {
    crc = table[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
  }
  return static_cast<unsigned short>(~crc & 0xFFFF);
}

std::vector<unsigned char> makeBlock() {
  std::mt19937 random(1);
  std::vector<unsigned char> block(kBlockSize);
  for (unsigned char& byte : block) {
    byte = static_cast<unsigned char>(random());
  }
  return block;
}

template <typename Checksum>
double bytesPerSecond(unsigned short expected, Checksum checksum) {
  const int64_t start = processCpuNanoseconds();
  for (int i = 0; i < kRepetitions; ++i) {
    require(checksum() == expected, "checksum");
  }
  const auto nanoseconds = static_cast<double>(processCpuNanoseconds() - start);
  return kRepetitions * static_cast<double>(kBlockSize) / nanoseconds * 1e9;
}

}  // namespace

int main() {
  const std::vector<unsigned char> block = makeBlock();
  const std::vector<uint32_t> table = makeTable();
  const unsigned short expected = plainCrc(table.data(), block.data(), block.size());
  compare(
      "Preference checksum, 128 KiB (floor: the byte-wise table)", Figure::BytesPerSecond, atLeast(0.95),
      [&] { return bytesPerSecond(expected, [&] { return Kelp::crcCalculator::getCRC(block.data(), block.size()); }); },
      [&] { return bytesPerSecond(expected, [&] { return plainCrc(table.data(), block.data(), block.size()); }); });
}
