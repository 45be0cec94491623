#include <gtest/gtest.h>

#include <random>
#include <string>

#include "rpc/TextPacking.h"

namespace {

using Kelp::packText;

std::string packed(std::string memory, std::size_t from, std::size_t out, const char* dropped) {
  const char* const end = packText(memory.data() + from, memory.data() + memory.size(), memory.data() + out, dropped);
  EXPECT_LE(end, memory.data() + memory.size());
  return memory;
}

// Byte by byte, so that it is plain what stays behind the copy.
std::string packedPlainly(std::string memory, std::size_t from, std::size_t out, const std::string& dropped) {
  for (std::size_t i = from; i < memory.size(); ++i) {
    if (dropped.find(memory[i]) == std::string::npos) {
      memory[out++] = memory[i];
    }
  }
  return memory;
}

TEST(TextPackingTest, DropsTheCharactersAndReturnsTheEnd) {
  std::string text = "ab\r\ncd \n";
  const char* const end = packText(text.data(), text.data() + text.size(), text.data(), "\r\n");
  EXPECT_EQ(std::string(text.data(), static_cast<std::size_t>(end - text.data())), "abcd ");
}

TEST(TextPackingTest, NothingStaysNothing) {
  char text = 'x';
  EXPECT_EQ(packText(&text, &text, &text, "\r\n"), &text);
  EXPECT_EQ(text, 'x');
}

TEST(TextPackingTest, LeavesAllMemoryAsByteByByteCopyingDoes) {
  std::mt19937 random(1);
  const std::string characters = "ABCDabcd0123\r\n \t\x1F-\x80\xFF" + std::string(1, '\0');
  for (int i = 0; i < 20000; ++i) {
    std::string memory(random() % 100, 'x');
    const std::size_t kinds = 1 + random() % characters.size();
    for (char& byte : memory) {
      byte = random() % 8 == 0 ? characters[random() % characters.size()] : characters[random() % kinds];
    }
    const std::size_t from = random() % (memory.size() + 1);
    const std::size_t out = random() % (from + 1);
    const char* const dropped = random() % 2 == 0 ? "\r\n" : "\r\n ";
    ASSERT_EQ(packed(memory, from, out, dropped), packedPlainly(memory, from, out, dropped))
        << testing::PrintToString(memory) << from << ' ' << out;
  }
}

}  // namespace
