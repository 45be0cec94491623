#include <gtest/gtest.h>
#include <string.h>

#include <random>

#include "common/Record.h"
#include "support/Vectors.h"

namespace KelpExample {
namespace {

// One item as bytes, whatever its parts say.
std::string itemBytes(uint32_t kind, uint32_t nameSize, uint32_t valueSize, const std::string& rest) {
  const uint32_t head[] = {kind, nameSize, valueSize};
  return std::string(reinterpret_cast<const char*>(head), sizeof(head)) + rest;
}

bool isAccepted(const std::string& bytes) {
  Record record;
  const bool isDecoded = Record::decode(bytes.data(), bytes.size(), record);
  EXPECT_TRUE(isDecoded || record.items().empty());
  return isDecoded;
}

Record fullRecord() {
  Record record;
  record.putString("name", std::string("a\0b", 3));
  record.putDecimal("count", -5);
  record.putHexadecimal("id", 0x1A);
  record.beginArray("list");
  record.beginStruct("");
  record.putString("name", "inner");
  record.putDecimal("deep", 1);
  record.endStruct();
  record.endArray();
  record.putString("", "");
  return record;
}

TEST(RecordTest, WhatIsEncodedComesBack) {
  const Record record = fullRecord();
  const std::string bytes = record.encode();
  Record decoded;
  ASSERT_TRUE(Record::decode(bytes.data(), bytes.size(), decoded));
  ASSERT_EQ(record.items().size(), decoded.items().size());
  for (size_t i = 0; i < record.items().size(); ++i) {
    EXPECT_EQ(record.items()[i].kind, decoded.items()[i].kind);
    EXPECT_EQ(record.items()[i].name, decoded.items()[i].name);
    EXPECT_EQ(record.items()[i].text, decoded.items()[i].text);
    EXPECT_EQ(record.items()[i].number, decoded.items()[i].number);
  }
}

TEST(RecordTest, AnItemIsThreeWordsTheNameAndTheValue) {
  EXPECT_EQ(KelpTest::vectorOf("records.txt", "record with an item of each kind"), fullRecord().encode());
}

TEST(RecordTest, OnlyTheOutermostItemsAreFound) {
  const Record record = fullRecord();
  std::string text;
  int32_t number = 0;
  EXPECT_TRUE(record.getString("name", text));
  EXPECT_EQ(std::string("a\0b", 3), text);
  EXPECT_FALSE(record.getNumber("deep", number));
  EXPECT_FALSE(record.getString("none", text));
}

TEST(RecordTest, AnItemOfAnotherKindIsNotFound) {
  const Record record = fullRecord();
  std::string text = "kept";
  int32_t number = 42;
  EXPECT_FALSE(record.getString("count", text));
  EXPECT_FALSE(record.getString("list", text));
  EXPECT_FALSE(record.getNumber("name", number));
  EXPECT_EQ("kept", text);
  EXPECT_EQ(42, number);
}

TEST(RecordTest, NoBytesAreTheEmptyRecord) {
  Record record = fullRecord();
  EXPECT_TRUE(Record::decode(nullptr, 0, record));
  EXPECT_TRUE(record.items().empty());
}

TEST(RecordTest, ARecordThatIsCutIsRefusedUnlessAnItemEndsThere) {
  Record record;
  record.putString("name", "value");
  record.putDecimal("count", 3);
  const std::string bytes = record.encode();
  const size_t firstItem = 12 + 4 + 5;
  for (size_t size = 1; size < bytes.size(); ++size) {
    EXPECT_EQ(size == firstItem, isAccepted(bytes.substr(0, size))) << size;
  }
}

TEST(RecordTest, LengthsThatReachBeyondTheEndAreRefused) {
  EXPECT_FALSE(isAccepted(itemBytes(1, 5, 0, "name")));
  EXPECT_FALSE(isAccepted(itemBytes(1, 4, 1, "name")));
  EXPECT_FALSE(isAccepted(itemBytes(1, 0xFFFFFFFF, 0, "name")));
  EXPECT_FALSE(isAccepted(itemBytes(1, 4, 0xFFFFFFFF, "name")));
  EXPECT_FALSE(isAccepted(itemBytes(1, 0xFFFFFFFF, 5, "name")));  // together they wrap around to 4
}

TEST(RecordTest, KindsThatDoNotExistAreRefused) {
  EXPECT_FALSE(isAccepted(itemBytes(0, 0, 0, "")));
  EXPECT_FALSE(isAccepted(itemBytes(8, 0, 0, "")));
  EXPECT_FALSE(isAccepted(itemBytes(0xFFFFFFFF, 0, 0, "")));
}

TEST(RecordTest, ANumberOfAnotherWidthIsRefused) {
  EXPECT_FALSE(isAccepted(itemBytes(2, 1, 3, "nabc")));
  EXPECT_FALSE(isAccepted(itemBytes(3, 1, 8, "nabcdefgh")));
  EXPECT_TRUE(isAccepted(itemBytes(2, 1, 4, "nabcd")));
}

TEST(RecordTest, ABeginOrEndWithAValueIsRefused) {
  EXPECT_FALSE(isAccepted(itemBytes(4, 0, 1, "x") + itemBytes(5, 0, 0, "")));
}

TEST(RecordTest, BeginsAndEndsMustPair) {
  const std::string beginStruct = itemBytes(4, 0, 0, "");
  const std::string endStruct = itemBytes(5, 0, 0, "");
  const std::string beginArray = itemBytes(6, 0, 0, "");
  const std::string endArray = itemBytes(7, 0, 0, "");
  EXPECT_TRUE(isAccepted(beginStruct + beginArray + endArray + endStruct));
  EXPECT_FALSE(isAccepted(endStruct));
  EXPECT_FALSE(isAccepted(beginArray));
  EXPECT_FALSE(isAccepted(beginStruct + endArray));
  EXPECT_FALSE(isAccepted(beginStruct + beginArray + endStruct + endArray));
}

TEST(RecordTest, NestingIsBounded) {
  std::string begins;
  std::string ends;
  for (size_t depth = 1; depth <= Record::kMaxDepth + 1; ++depth) {
    begins += itemBytes(6, 0, 0, "");
    ends += itemBytes(7, 0, 0, "");
    EXPECT_EQ(depth <= Record::kMaxDepth, isAccepted(begins + ends)) << depth;
  }
}

// Whatever is accepted can be encoded again to the same bytes; whatever is not leaves nothing behind. The sanitizers
// watch the rest.
TEST(RecordTest, DamagedRecordsDoNoHarm) {
  const std::string intact = fullRecord().encode();
  std::mt19937 random(4711);
  for (int round = 0; round < 20000; ++round) {
    std::string bytes = intact;
    for (int i = 0; i < 3; ++i) {
      bytes[random() % bytes.size()] = static_cast<char>(random() % 9);
    }
    Record record;
    if (Record::decode(bytes.data(), bytes.size(), record)) {
      EXPECT_EQ(bytes, record.encode());
    } else {
      EXPECT_TRUE(record.items().empty());
    }
  }
}

}  // namespace
}  // namespace KelpExample
