// The input is a byte that says how much room and length there is, and data: it is encoded in every way, and decoded as
// if it were text.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string>

#include "Base64EncDec.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/Input.h"
#include "fuzz/support/Platform.h"
#include "support/Base64Reference.h"

namespace {

using Kelp::Base64EncDec;
using Kelp::CommonReturnCode_InvalidParameter;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;
using KelpTest::decodedCharByChar;
using KelpTest::Decoding;

constexpr size_t kUnlimited = std::numeric_limits<unsigned int>::max();
constexpr unsigned int kUntouched = 0xABCDEF01;

unsigned int sizeOf(const std::string& text) {
  return static_cast<unsigned int>(text.size());
}

// A block that ends where it may at the earliest, so that every access beyond it is seen.
template <typename Byte>
std::unique_ptr<Byte[]> blockOf(const std::string& bytes) {
  auto block = std::make_unique<Byte[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), block.get());
  return block;
}

// A stream that writes to memory.
class TextStream {
 public:
  TextStream() : m_pText(nullptr), m_size(0), m_pStream(open_memstream(&m_pText, &m_size)) {
    FUZZ_CHECK(m_pStream != nullptr);
  }
  ~TextStream() {
    if (m_pStream != nullptr) {
      fclose(m_pStream);
    }
    free(m_pText);
  }
  TextStream(const TextStream&) = delete;
  TextStream& operator=(const TextStream&) = delete;

  FILE* get() const { return m_pStream; }

  std::string close() {
    fclose(m_pStream);
    m_pStream = nullptr;
    return std::string(m_pText, m_size);
  }

 private:
  char* m_pText;
  size_t m_size;
  FILE* m_pStream;
};

void checkSame(const Decoding& actual, const Decoding& expected) {
  FUZZ_CHECK_EQ(actual.result, expected.result);
  FUZZ_CHECK_EQ(actual.data, expected.data);
  FUZZ_CHECK_EQ(actual.text, expected.text);
}

// `text` reaches up to a multiple of 4, in both.

Decoding decodeInPlace(const std::string& text, size_t length) {
  const auto buffer = blockOf<char>(text);
  unsigned int size = kUntouched;
  const CommonReturnCode_t result = Base64EncDec().getBase64(buffer.get(), static_cast<unsigned int>(length), size);
  return {result, std::string(buffer.get(), size), std::string(buffer.get(), text.size())};
}

Decoding decodeInto(const std::string& text, size_t length, size_t room) {
  const auto in = blockOf<char>(text);
  const auto out = std::make_unique<char[]>(room);
  unsigned int size = kUntouched;
  const CommonReturnCode_t result = Base64EncDec().getBase64(in.get(), static_cast<unsigned int>(length), out.get(),
                                                             static_cast<unsigned int>(room), size);
  return {result, std::string(out.get(), size), std::string(in.get(), text.size())};
}

std::string encodedInMemory(const std::string& data, unsigned int spareRoom) {
  const Base64EncDec codec;
  const auto in = blockOf<unsigned char>(data);
  const unsigned int room = codec.encodeSize(sizeOf(data)) + spareRoom;
  const auto out = std::make_unique<unsigned char[]>(room);
  unsigned int size = kUntouched;
  FUZZ_CHECK_EQ(codec.putBase64(in.get(), sizeOf(data), out.get(), room, size), CommonReturnCode_Ok);
  FUZZ_CHECK(size <= room);
  return std::string(out.get(), out.get() + size);
}

std::string encodedToStream(const std::string& data) {
  const auto in = blockOf<unsigned char>(data);
  unsigned int size = sizeOf(data);
  TextStream out;
  FUZZ_CHECK_EQ(Base64EncDec().putBase64Mem(in.get(), size, out.get()), CommonReturnCode_Ok);
  FUZZ_CHECK_EQ(size, sizeOf(data));
  return out.close();
}

// Of one byte at least: the C library makes no stream of none.
std::string encodedFromStream(std::string data) {
  FILE* const in = fmemopen(data.data(), data.size(), "r");
  FUZZ_CHECK(in != nullptr);
  TextStream out;
  FUZZ_CHECK_EQ(Base64EncDec().putBase64(in, out.get()), CommonReturnCode_Ok);
  fclose(in);
  return out.close();
}

void checkRoomIsNeeded(const std::string& data) {
  const unsigned int room = Base64EncDec().encodeSize(sizeOf(data)) - 1;
  const auto in = blockOf<unsigned char>(data);
  const auto out = std::make_unique<unsigned char[]>(room);
  unsigned int size = kUntouched;
  FUZZ_CHECK_EQ(Base64EncDec().putBase64(in.get(), sizeOf(data), out.get(), room, size),
                CommonReturnCode_InvalidParameter);
  FUZZ_CHECK_EQ(size, kUntouched);
}

void checkEncoders(const std::string& data, uint8_t control) {
  const std::string expected = KelpTest::encodedBitByBit(data);
  FUZZ_CHECK_EQ(encodedInMemory(data, control % 4), expected);
  FUZZ_CHECK_EQ(encodedToStream(data), expected);
  if (!data.empty()) {
    FUZZ_CHECK_EQ(encodedFromStream(data), expected);
    checkRoomIsNeeded(data);
  }
  FUZZ_CHECK_EQ(decodeInPlace(expected, expected.size()).data, data);
  FUZZ_CHECK_EQ(decodeInto(expected, expected.size(), Base64EncDec().decodeMaxSize(sizeOf(expected))).data, data);
}

void checkDecoders(std::string text, uint8_t control) {
  text.resize((text.size() + 3) / 4 * 4, '\0');
  const size_t length = text.size() - std::min<size_t>(text.size(), control & 3U);
  const size_t most = Base64EncDec().decodeMaxSize(sizeOf(text));
  const size_t room = most - std::min<size_t>(most, control >> 2U);
  checkSame(decodeInPlace(text, length), decodedCharByChar(text, length, kUnlimited, true));
  checkSame(decodeInto(text, length, room), decodedCharByChar(text, length, room, false));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const KelpFuzz::Residue residue;
  KelpFuzz::Input input(data, size);
  const uint8_t control = input.byte();
  const std::string bytes = input.rest();
  checkEncoders(bytes, control);
  checkDecoders(bytes, control);
  return 0;
}
