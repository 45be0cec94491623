#include "differential/RandomValues.h"

#include <limits.h>

#include <vector>

#include "support/Base64Reference.h"

namespace KelpTest {

namespace {

const std::vector<std::string>& numberTexts() {
  static const std::vector<std::string> texts = {"0",
                                                 "1",
                                                 "26",
                                                 "2147483647",
                                                 "2147483648",
                                                 "-2147483648",
                                                 "-2147483649",
                                                 "4294967295",
                                                 "4294967296",
                                                 "-1",
                                                 "+5",
                                                 "9223372036854775807",
                                                 "9223372036854775808",
                                                 "007",
                                                 "-4294967297",
                                                 " 7",
                                                 "7 ",
                                                 "1e3",
                                                 "0x10",
                                                 "0x7fffffff",
                                                 "FFFFFFFF",
                                                 "80000000",
                                                 "100000000",
                                                 "0000001A",
                                                 "-1A",
                                                 "xyz",
                                                 "99999999999999999999999"};
  return texts;
}

}  // namespace

int randomInt(RandomSource& random) {
  const std::vector<int> ends = {0, 1, -1, INT_MAX, INT_MIN, 0x1A, 255, 256};
  const bool isEnd = random.oneIn(2);
  const int end = random.oneOf(ends);
  const auto any = static_cast<int>(random.word());
  return isEnd ? end : any;
}

long long randomLongLong(RandomSource& random) {
  const std::vector<long long> ends = {0, -1, INT_MAX, LLONG_MAX, LLONG_MIN, 0x1122334455667788, 0xFFFFFFFF};
  const bool isEnd = random.oneIn(2);
  const long long end = random.oneOf(ends);
  const uint64_t high = random.word();
  const uint64_t low = random.word();
  return isEnd ? end : static_cast<long long>(high << 32 | low);
}

std::string randomNumberText(RandomSource& random) {
  if (random.oneIn(3)) {
    return std::to_string(randomLongLong(random));
  }
  return random.oneOf(numberTexts());
}

std::string randomBase64Text(RandomSource& random) {
  std::string text = encodedBitByBit(randomBytes(random, 60));
  if (random.oneIn(3) && !text.empty()) {
    const uint32_t position = random.below(static_cast<uint32_t>(text.size()));
    text[position] = random.oneOf("-_#= \t\f\v*%\x80\xFF");
  }
  if (random.oneIn(6)) {
    text.resize(text.size() - text.size() % 4 / 2);
  }
  return text;
}

std::string randomText(RandomSource& random, uint32_t longest) {
  const uint32_t size = random.below(longest + 1);
  const bool isPlain = random.oneIn(2);
  std::string text;
  while (text.size() < size) {
    const char any = static_cast<char>(1 + random.below(255));
    const char plain = random.oneOf("abcdefghijklmnopqrstuvwxyz ABC0123456789\"\\/&=%+-\r\n\t");
    text += isPlain ? plain : any;
  }
  return text;
}

std::string randomBytes(RandomSource& random, uint32_t longest) {
  const uint32_t size = random.below(longest + 1);
  std::string bytes;
  while (bytes.size() < size) {
    bytes += random.byte();
  }
  return bytes;
}

std::string randomValue(RandomSource& random) {
  switch (random.below(4)) {
    case 0:
      return randomNumberText(random);
    case 1:
      return randomBase64Text(random);
    case 2:
      return randomText(random, 80);
    default:
      return std::string(random.below(20), 'A');
  }
}

}  // namespace KelpTest
