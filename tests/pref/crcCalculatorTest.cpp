#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>
#include <vector>

#include "crcCalculator.h"

namespace {

using Kelp::crcCalculator;

unsigned short crcOf(const std::string& text) {
  return crcCalculator::getCRC(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

TEST(CrcCalculatorTest, CheckValueIsTheLowHalfOfThePublishedOne) {
  EXPECT_EQ(crcOf("123456789"), 0x3926);
}

TEST(CrcCalculatorTest, NothingGivesZero) {
  EXPECT_EQ(crcOf(""), 0);
  EXPECT_EQ(crcCalculator::getCRC(nullptr, 0), 0);
}

TEST(CrcCalculatorTest, IsTheLowHalfOfZlibsForRandomBlocks) {
  std::mt19937 random(20260);
  for (int round = 0; round < 2000; ++round) {
    std::vector<unsigned char> block(random() % 5000);
    for (unsigned char& byte : block) {
      byte = static_cast<unsigned char>(random());
    }
    const uLong expected = crc32(0, block.data(), static_cast<uInt>(block.size()));
    ASSERT_EQ(crcCalculator::getCRC(block.data(), block.size()), expected & 0xFFFF) << "round " << round;
  }
}

TEST(CrcCalculatorTest, CheckComparesWithTheBytesOwn) {
  const auto* bytes = reinterpret_cast<const unsigned char*>("123456789");
  EXPECT_TRUE(crcCalculator::checkCRC(bytes, 9, 0x3926));
  EXPECT_FALSE(crcCalculator::checkCRC(bytes, 9, 0x3927));
  EXPECT_FALSE(crcCalculator::checkCRC(bytes, 8, 0x3926));
}

TEST(CrcCalculatorTest, CanBeBuiltThoughItHoldsNothing) {
  const crcCalculator calculator;
  EXPECT_TRUE(calculator.checkCRC(nullptr, 0, 0));
}

}  // namespace
