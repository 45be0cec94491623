#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "Base64EncDec.h"
#include "support/Base64Reference.h"
#include "support/CallFaults.h"
#include "support/LogCapture.h"

namespace {

using Kelp::Base64EncDec;
using Kelp::CommonReturnCode_InvalidParameter;
using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;
using KelpTest::decodedCharByChar;
using KelpTest::Decoding;
using KelpTest::encodedBitByBit;
using KelpTest::kBase64Tokens;

constexpr unsigned int kUntouched = 0xABCDEF01;
constexpr unsigned int kUnlimited = std::numeric_limits<unsigned int>::max();

unsigned int sizeOf(const std::string& bytes) {
  return static_cast<unsigned int>(bytes.size());
}

const unsigned char* dataOf(const std::string& bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

std::string randomBytes(std::mt19937& random, std::size_t size) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) {
    byte = static_cast<char>(random());
  }
  return bytes;
}

// --- The codec itself, in blocks that end where they may end at the earliest, so that ASan sees every access beyond.

std::string encode(const std::string& data) {
  const Base64EncDec codec;
  const unsigned int room = codec.encodeSize(sizeOf(data));
  const auto in = std::make_unique<unsigned char[]>(data.size());
  std::copy(data.begin(), data.end(), in.get());
  const auto out = std::make_unique<unsigned char[]>(room);
  unsigned int size = kUntouched;
  EXPECT_EQ(codec.putBase64(in.get(), sizeOf(data), out.get(), room, size), CommonReturnCode_Ok);
  return std::string(out.get(), out.get() + size);
}

Decoding decodeInPlace(const std::string& text, std::size_t length) {
  const auto buffer = std::make_unique<char[]>(text.size());
  std::copy(text.begin(), text.end(), buffer.get());
  unsigned int size = kUntouched;
  const CommonReturnCode_t result = Base64EncDec().getBase64(buffer.get(), static_cast<unsigned int>(length), size);
  return {result, std::string(buffer.get(), size), std::string(buffer.get(), text.size())};
}

Decoding decodeInto(const std::string& text, std::size_t length, std::size_t room) {
  const auto in = std::make_unique<char[]>(text.size());
  std::copy(text.begin(), text.end(), in.get());
  const auto out = std::make_unique<char[]>(room);
  std::fill_n(out.get(), room, '\x5A');
  unsigned int size = kUntouched;
  const CommonReturnCode_t result = Base64EncDec().getBase64(in.get(), static_cast<unsigned int>(length), out.get(),
                                                             static_cast<unsigned int>(room), size);
  EXPECT_EQ(std::count(out.get() + size, out.get() + room, '\x5A'), static_cast<long>(room - size));
  return {result, std::string(out.get(), size), std::string(in.get(), text.size())};
}

std::string decode(const std::string& text) {
  const Decoding decoding = decodeInPlace(text, text.size());
  EXPECT_EQ(decoding.result, CommonReturnCode_Ok);
  return decoding.data;
}

void expectSame(const Decoding& actual, const Decoding& expected, const std::string& text) {
  ASSERT_EQ(actual.result, expected.result) << testing::PrintToString(text);
  ASSERT_EQ(actual.data, expected.data) << testing::PrintToString(text);
  ASSERT_EQ(actual.text, expected.text) << testing::PrintToString(text);
}

void expectDecodesAsTheSecondOpinion(const std::string& text, std::size_t length, std::size_t room) {
  expectSame(decodeInPlace(text, length), decodedCharByChar(text, length, kUnlimited, true), text);
  expectSame(decodeInto(text, length, room), decodedCharByChar(text, length, room, false), text);
}

TEST(Base64EncDecTest, RegistersUnderItsObjectType) {
  const KelpTest::LogCapture log;
  const Base64EncDec codec;
  ASSERT_TRUE(Kelp::KelpObject::isObjectExist(&codec));
  EXPECT_NE(log.traces().at(0).message.find("(ObjectType=1)"), std::string::npos);
}

// --- Sizes

TEST(Base64EncDecTest, EncodeSizeReservesMoreForLengthsThatAreNoMultipleOf3) {
  const Base64EncDec codec;
  EXPECT_EQ(codec.encodeSize(0), 0U);
  EXPECT_EQ(codec.encodeSize(1), 5U);
  EXPECT_EQ(codec.encodeSize(2), 6U);
  EXPECT_EQ(codec.encodeSize(3), 4U);
  EXPECT_EQ(codec.encodeSize(4), 9U);
}

TEST(Base64EncDecTest, SizesWrapRoundAt32Bits) {
  const Base64EncDec codec;
  EXPECT_EQ(codec.encodeSize(0x40000002), 2U);  // a multiple of 3
  EXPECT_EQ(codec.encodeSize(0x40000000), 4U);
  EXPECT_EQ(codec.decodeMaxSize(0xFFFFFFFF), 0x3FFFFFFFU);
}

TEST(Base64EncDecTest, DecodeMaxSizeIsThreeQuartersRoundedDown) {
  const Base64EncDec codec;
  EXPECT_EQ(codec.decodeMaxSize(0), 0U);
  EXPECT_EQ(codec.decodeMaxSize(1), 0U);
  EXPECT_EQ(codec.decodeMaxSize(4), 3U);
  EXPECT_EQ(codec.decodeMaxSize(7), 5U);
}

// --- Encoding in memory

TEST(Base64EncDecTest, EncodesAndPads) {
  EXPECT_EQ(encode("Man"), "TWFu");
  EXPECT_EQ(encode("Ma"), "TWE=");
  EXPECT_EQ(encode("M"), "TQ==");
  EXPECT_EQ(encode("\xFB\xFF\xFE"), "+//+");
}

TEST(Base64EncDecTest, EveryLengthEncodesAsBitByBit) {
  std::mt19937 random(1);
  for (std::size_t size = 0; size < 400; ++size) {
    const std::string data = randomBytes(random, size);
    ASSERT_EQ(encode(data), encodedBitByBit(data));
  }
}

TEST(Base64EncDecTest, NoBytesGiveNoText) {
  EXPECT_EQ(encode(""), "");
}

TEST(Base64EncDecTest, WritesNothingBehindTheText) {
  unsigned char out[16];
  memset(out, 'z', sizeof out);
  unsigned int size = kUntouched;
  const unsigned char in[] = {'M', 'a', 'n', 'M'};
  EXPECT_EQ(Base64EncDec().putBase64(in, 4, out, sizeof out, size), CommonReturnCode_Ok);
  EXPECT_EQ(std::string(out, out + sizeof out), "TWFuTQ==zzzzzzzz");
  EXPECT_EQ(size, 8U);
}

TEST(Base64EncDecTest, EncodingNeedsBothPointers) {
  unsigned char byte = 0;
  unsigned int size = kUntouched;
  EXPECT_EQ(Base64EncDec().putBase64(nullptr, 0, &byte, 1, size), CommonReturnCode_InvalidParameter);
  EXPECT_EQ(Base64EncDec().putBase64(&byte, 0, nullptr, 1, size), CommonReturnCode_InvalidParameter);
  EXPECT_EQ(size, kUntouched);
}

TEST(Base64EncDecTest, EncodingNeedsTheRoomThatEncodeSizeNames) {
  const unsigned char in[] = {'M'};
  unsigned char out[5];
  unsigned int size = kUntouched;
  EXPECT_EQ(Base64EncDec().putBase64(in, 1, out, 4, size), CommonReturnCode_InvalidParameter);
  EXPECT_EQ(size, kUntouched);
  EXPECT_EQ(Base64EncDec().putBase64(in, 1, out, 5, size), CommonReturnCode_Ok);
  EXPECT_EQ(size, 4U);
}

TEST(Base64EncDecTest, SizeWithItsTopBitSetEncodesNothing) {
  const unsigned char in[] = {'M'};
  unsigned char out[] = {'z'};
  unsigned int size = kUntouched;
  EXPECT_EQ(Base64EncDec().putBase64(in, 0x80000000, out, kUnlimited, size), CommonReturnCode_Ok);
  EXPECT_EQ(size, 0U);
  EXPECT_EQ(out[0], 'z');
}

// encodeSize() wraps round to 2 for this many bytes, so that the room seems to do.
constexpr unsigned int kWrappingSize = 0x40000002;

TEST(Base64EncDecDeathTest, CharacterBeyondTheRoomEndsTheProcess) {
  const std::string in(64, 'M');
  for (const unsigned int room : {2U, 3U, 4U, 5U, 30U, 32U}) {
    const auto out = std::make_unique<unsigned char[]>(room);
    unsigned int size = 0;
    EXPECT_DEATH(Base64EncDec().putBase64(dataOf(in), kWrappingSize, out.get(), room, size),
                 "Base64EncDec\\.cpp:[0-9]+: .*putBase64\\(.*: Assertion `outSize < maxSize' failed");
  }
}

// --- Encoding to streams

// Around a group and around the chunks that streams are read in.
constexpr std::size_t kStreamSizes[] = {0, 1, 2, 3, 4, 383, 384, 385, 386, 387, 768, 1000};

class Base64StreamTest : public testing::Test {
 protected:
  Base64StreamTest() : m_in(tmpfile()), m_out(tmpfile()) {}
  ~Base64StreamTest() override {
    fclose(m_in);
    fclose(m_out);
  }

  void put(const std::string& data) {
    ASSERT_EQ(fwrite(data.data(), 1, data.size(), m_in), data.size());
    rewind(m_in);
  }

  std::string takeText() {
    std::string text(static_cast<std::size_t>(ftell(m_out)), '\0');
    rewind(m_out);
    EXPECT_EQ(fread(text.data(), 1, text.size(), m_out), text.size());
    rewind(m_out);
    EXPECT_EQ(ftruncate(fileno(m_out), 0), 0);
    return text;
  }

  FILE* m_in;
  FILE* m_out;
};

TEST_F(Base64StreamTest, BlockIsEncodedLikeInMemory) {
  std::mt19937 random(2);
  for (const std::size_t size : kStreamSizes) {
    std::string data = randomBytes(random, size);
    unsigned int length = sizeOf(data);
    ASSERT_EQ(Base64EncDec().putBase64Mem(data.data(), length, m_out), CommonReturnCode_Ok);
    EXPECT_EQ(takeText(), encodedBitByBit(data));
    EXPECT_EQ(length, size);
  }
}

TEST_F(Base64StreamTest, StreamIsEncodedLikeInMemory) {
  std::mt19937 random(3);
  for (const std::size_t size : kStreamSizes) {
    const std::string data = randomBytes(random, size);
    rewind(m_in);
    ASSERT_EQ(ftruncate(fileno(m_in), 0), 0);
    put(data);
    ASSERT_EQ(Base64EncDec().putBase64(m_in, m_out), CommonReturnCode_Ok);
    EXPECT_EQ(takeText(), encodedBitByBit(data));
  }
}

TEST_F(Base64StreamTest, StreamIsEncodedFromWhereItStands) {
  put("xyzMan");
  fseek(m_in, 3, SEEK_SET);
  EXPECT_EQ(Base64EncDec().putBase64(m_in, m_out), CommonReturnCode_Ok);
  EXPECT_EQ(takeText(), "TWFu");
}

TEST_F(Base64StreamTest, EachGroupIsOneFputs) {
  char data[] = "12345678";  // and its NUL: 3 groups
  unsigned int size = 9;
  int before = KelpTest::callCount(KelpTest::Call::Fputs);
  ASSERT_EQ(Base64EncDec().putBase64Mem(data, size, m_out), CommonReturnCode_Ok);
  EXPECT_EQ(KelpTest::callCount(KelpTest::Call::Fputs) - before, 3);

  put(std::string(385, 'x'));
  before = KelpTest::callCount(KelpTest::Call::Fputs);
  ASSERT_EQ(Base64EncDec().putBase64(m_in, m_out), CommonReturnCode_Ok);
  EXPECT_EQ(KelpTest::callCount(KelpTest::Call::Fputs) - before, 129);
}

TEST_F(Base64StreamTest, FailingOutputIsLeftToTheStreamsOwner) {
  char data[] = "Man";
  unsigned int size = 3;
  const KelpTest::CallFault fault(KelpTest::Call::Fputs, 28);
  EXPECT_EQ(Base64EncDec().putBase64Mem(data, size, m_out), CommonReturnCode_Ok);
  EXPECT_EQ(fault.hits(), 1);
}

TEST_F(Base64StreamTest, UnreadableInputGivesNoText) {
  FILE* const directory = fopen("/tmp", "re");
  ASSERT_NE(directory, nullptr);
  EXPECT_EQ(Base64EncDec().putBase64(directory, m_out), CommonReturnCode_Ok);
  EXPECT_NE(ferror(directory), 0);
  fclose(directory);
  EXPECT_EQ(takeText(), "");
}

TEST_F(Base64StreamTest, NullArgumentsAreInvalidParameters) {
  char data[] = "Man";
  unsigned int size = 3;
  EXPECT_EQ(Base64EncDec().putBase64Mem(nullptr, size, m_out), CommonReturnCode_InvalidParameter);
  EXPECT_EQ(Base64EncDec().putBase64Mem(data, size, nullptr), CommonReturnCode_InvalidParameter);
  EXPECT_EQ(Base64EncDec().putBase64(nullptr, m_out), CommonReturnCode_InvalidParameter);
  EXPECT_EQ(Base64EncDec().putBase64(m_in, nullptr), CommonReturnCode_InvalidParameter);
  EXPECT_EQ(takeText(), "");
}

// --- Decoding

TEST(Base64EncDecTest, DecodesPaddedText) {
  EXPECT_EQ(decode("TWFu"), "Man");
  EXPECT_EQ(decode("TWE="), "Ma");
  EXPECT_EQ(decode("TQ=="), "M");
}

TEST(Base64EncDecTest, TakesUrlSafeDigitsAndRewritesThem) {
  EXPECT_EQ(decode("TW-_"), decode("TW+/"));
  const Decoding decoding = decodeInto("TW-_", 4, 3);
  EXPECT_EQ(decoding.data, decode("TW+/"));
  EXPECT_EQ(decoding.text, "TW+/");
}

TEST(Base64EncDecTest, PaddingDoesNotEndTheText) {
  EXPECT_EQ(decode("TQ==TWFu"), "MMan");
}

TEST(Base64EncDecTest, WhiteSpaceCountsAsADigitAndCorruptsItsGroup) {
  EXPECT_EQ(decode("TW Fu==="), std::string("Mp\x05\xB8", 4));
}

TEST(Base64EncDecTest, NothingDecodesToNothing) {
  unsigned int size = kUntouched;
  char none = 'z';
  EXPECT_EQ(Base64EncDec().getBase64(&none, 0, size), CommonReturnCode_Ok);
  EXPECT_EQ(size, 0U);
  size = kUntouched;
  EXPECT_EQ(Base64EncDec().getBase64(&none, 0, &none, 0, size), CommonReturnCode_Ok);
  EXPECT_EQ(size, 0U);
  EXPECT_EQ(none, 'z');
}

TEST(Base64EncDecTest, GroupThatStartsWithPaddingGivesOneZeroByte) {
  EXPECT_EQ(decode("===="), std::string(1, '\0'));
  EXPECT_EQ(decode("=AAA"), std::string(1, '\0'));
  EXPECT_EQ(decode("=zzz"), std::string(1, '\0'));
}

TEST(Base64EncDecTest, PaddingAtTheSecondOrThirdPlaceGivesOneByte) {
  EXPECT_EQ(decode("T=Fu"), "L");
  EXPECT_EQ(decode("TW=u"), "M");
}

TEST(Base64EncDecTest, NulAndHashEndTheInput) {
  for (const char end : {'\0', '#'}) {
    EXPECT_EQ(decode(std::string("TQ") + end + "x"), "M");
    EXPECT_EQ(decode(std::string("TWE") + end), "Ma");
    EXPECT_EQ(decode(std::string("TWFu") + end + "???"), std::string("Man\0", 4));
    EXPECT_EQ(decode(std::string("TWFu") + end + "TWFuTWFu???"), std::string("Man\0\0\0", 6));
  }
}

TEST(Base64EncDecTest, CharacterOutsideTheTableIsAnInvalidProtocol) {
  for (int character = 1; character < 256; ++character) {
    const std::string text = std::string("TWFuTW") + static_cast<char>(character) + "u";
    const bool isKnown = kBase64Tokens.find(static_cast<char>(character)) != std::string_view::npos ||
                         std::string("-_#").find(static_cast<char>(character)) != std::string::npos;
    const Decoding decoding = decodeInPlace(text, text.size());
    EXPECT_EQ(decoding.result, isKnown ? CommonReturnCode_Ok : CommonReturnCode_InvalidProtocol) << character;
    EXPECT_EQ(decoding.data.substr(0, 3), "Man");
    if (!isKnown) {
      EXPECT_EQ(decoding.data.size(), 3U);
    }
  }
}

TEST(Base64EncDecTest, LengthThatIsNoMultipleOf4ReadsOnToTheNext) {
  EXPECT_EQ(decodeInPlace("TWFu", 1).data, "Man");
  EXPECT_EQ(decodeInPlace("TWFuTWFu", 5).data, "ManMan");
  EXPECT_EQ(decodeInPlace(std::string("TQ\0\0", 4), 2).data, "M");
}

TEST(Base64EncDecTest, LengthThatWrapsRoundDecodesNothing) {
  char text[] = "TWFu";
  unsigned int size = kUntouched;
  EXPECT_EQ(Base64EncDec().getBase64(text, 0xFFFFFFFE, size), CommonReturnCode_Ok);
  EXPECT_EQ(size, 0U);
}

TEST(Base64EncDecTest, InPlaceLeavesWhatIsBehindTheBytes) {
  EXPECT_EQ(decodeInPlace("TWFuTWE=", 8).text, "ManMaWE=");
}

TEST(Base64EncDecTest, DecodingStopsWhereTheRoomEnds) {
  for (std::size_t room = 0; room < 6; ++room) {
    const Decoding decoding = decodeInto("TWFuTWFu", 8, room);
    EXPECT_EQ(decoding.result, CommonReturnCode_InvalidParameter);
    EXPECT_EQ(decoding.data, std::string("ManMan").substr(0, room));
  }
  EXPECT_EQ(decodeInto("TWFuTWFu", 8, 6).result, CommonReturnCode_Ok);
}

TEST(Base64EncDecTest, OutputMayBeTheInput) {
  std::string text = encodedBitByBit(std::string(100, 'x'));
  unsigned int size = kUntouched;
  EXPECT_EQ(Base64EncDec().getBase64(text.data(), sizeOf(text), text.data(), 100, size), CommonReturnCode_Ok);
  EXPECT_EQ(text.substr(0, size), std::string(100, 'x'));
}

TEST(Base64EncDecTest, DecodingNeedsItsPointers) {
  char byte = 'T';
  unsigned int size = kUntouched;
  EXPECT_EQ(Base64EncDec().getBase64(nullptr, 4, size), CommonReturnCode_InvalidParameter);
  EXPECT_EQ(size, 0U);
  EXPECT_EQ(Base64EncDec().getBase64(nullptr, 4, &byte, 1, size), CommonReturnCode_InvalidParameter);
  EXPECT_EQ(Base64EncDec().getBase64(&byte, 4, nullptr, 1, size), CommonReturnCode_InvalidParameter);
}

TEST(Base64EncDecTest, DecodesWhatItEncoded) {
  std::mt19937 random(4);
  for (std::size_t size = 0; size < 400; ++size) {
    const std::string data = randomBytes(random, size);
    const std::string text = encode(data);
    ASSERT_EQ(decode(text), data);
    ASSERT_EQ(decodeInto(text, text.size(), size).data, data);
  }
}

// One odd character at each place of a text that is long enough for the fast way.
TEST(Base64EncDecTest, EveryCharacterAtEveryPlaceDecodesAsCharacterByCharacter) {
  const std::string clean = "TWFuQmFzZTY0RGlnaXRzT25seUhlcmVBbmRUaGVyZQAA";
  for (std::size_t place = 0; place < clean.size(); ++place) {
    for (int character = 0; character < 256; ++character) {
      std::string text = clean;
      text[place] = static_cast<char>(character);
      expectDecodesAsTheSecondOpinion(text, text.size(), text.size() / 4 * 3);
      ASSERT_FALSE(HasFatalFailure());
    }
  }
}

std::string randomText(std::mt19937& random, std::size_t size, unsigned int oddPercent) {
  const std::string odd = std::string(kBase64Tokens.substr(64)) + "====-_-_##" + std::string(3, '\0') + "?\x80\xFF";
  std::string text(size, '\0');
  for (char& character : text) {
    character = random() % 100 < oddPercent ? odd[random() % odd.size()] : kBase64Tokens[random() % 64];
  }
  return text;
}

TEST(Base64EncDecTest, RandomTextsDecodeAsCharacterByCharacter) {
  std::mt19937 random(5);
  for (int i = 0; i < 20000; ++i) {
    const unsigned int oddPercent = std::vector<unsigned int>{0, 1, 5, 30, 100}[random() % 5];
    const std::size_t length = random() % 120;
    const std::string text = randomText(random, (length + 3) / 4 * 4, oddPercent);
    expectDecodesAsTheSecondOpinion(text, length, random() % 100);
    ASSERT_FALSE(HasFatalFailure());
  }
}

}  // namespace
