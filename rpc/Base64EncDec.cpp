#include "Base64EncDec.h"

#include <string.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "foundation/Diagnostics.h"

namespace Kelp {

namespace {

constexpr std::size_t kGroupBytes = 3;       // of data
constexpr std::size_t kGroupCharacters = 4;  // of text
constexpr unsigned int kDigits = 64;
constexpr std::size_t kStreamChunk = 384;  // bytes; whole groups, so that padding comes only at the very end

// The digits in the order of their values, then what else the decoder takes: a character's value is its position.
constexpr const char* base64TableForNameTokens =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/ \f\t\n\r\v=";
constexpr std::uint32_t kPadding = 70;  // the position of '='

// What the decoder makes of a character: a digit's value; for any other, less than zero, its position in the list of
// tokens minus 128, or kUnknown minus 128. As 32 bits such a value has kNotDigit set, whatever it is shifted by. One
// byte each, so that the device's small data cache is left to the data.
constexpr std::uint32_t kNotDigit = 0x80000000;
constexpr std::uint32_t kPositionBits = 0x7F;
constexpr std::uint32_t kUnknown = 0x7F;

struct DecodeTable {
  std::int8_t value[256];
};

constexpr std::int8_t lessThanZero(std::uint32_t position) {
  return static_cast<std::int8_t>(static_cast<int>(position) - 128);
}

constexpr DecodeTable makeDecodeTable() {
  DecodeTable table{};
  for (std::int8_t& value : table.value) {
    value = lessThanZero(kUnknown);
  }
  for (std::uint32_t value = 0; value <= kPadding; ++value) {
    const auto character = static_cast<unsigned char>(base64TableForNameTokens[value]);
    table.value[character] = value < kDigits ? static_cast<std::int8_t>(value) : lessThanZero(value);
  }
  return table;
}

constexpr DecodeTable kDecodeTable = makeDecodeTable();

// Both compile to one load or store and a byte swap.
std::uint64_t loadBigEndian(const unsigned char* in) {
  return std::uint64_t{in[0]} << 56 | std::uint64_t{in[1]} << 48 | std::uint64_t{in[2]} << 40 |
         std::uint64_t{in[3]} << 32 | std::uint64_t{in[4]} << 24 | std::uint64_t{in[5]} << 16 |
         std::uint64_t{in[6]} << 8 | std::uint64_t{in[7]};
}

void storeBigEndian(unsigned char* out, std::uint32_t value) {
  out[0] = static_cast<unsigned char>(value >> 24);
  out[1] = static_cast<unsigned char>(value >> 16);
  out[2] = static_cast<unsigned char>(value >> 8);
  out[3] = static_cast<unsigned char>(value);
}

// The digit for the lowest 6 bits.
constexpr unsigned char digitOf(std::uint64_t bits) {
  return static_cast<unsigned char>(base64TableForNameTokens[bits % kDigits]);
}

// Two digits for the lowest 12 bits. A table of all pairs makes the encoder twice as fast, but takes 8 KiB.
#ifdef __OPTIMIZE_SIZE__
void putPair(std::uint64_t bits, unsigned char* out) {
  out[0] = digitOf(bits / kDigits);
  out[1] = digitOf(bits);
}
#else
struct EncodeTable {
  unsigned char pair[kDigits * kDigits][2];
};

constexpr EncodeTable makeEncodeTable() {
  EncodeTable table{};
  for (unsigned int bits = 0; bits < kDigits * kDigits; ++bits) {
    table.pair[bits][0] = digitOf(bits / kDigits);
    table.pair[bits][1] = digitOf(bits);
  }
  return table;
}

constexpr EncodeTable kEncodeTable = makeEncodeTable();

void putPair(std::uint64_t bits, unsigned char* out) {
  memcpy(out, kEncodeTable.pair[bits % (std::uint64_t{kDigits} * kDigits)], 2);
}
#endif

// The last group may have 1 or 2 bytes: padding then stands for what is missing.
void encodeGroup(const unsigned char* in, std::size_t size, unsigned char* out) {
  const std::uint32_t second = size > 1 ? in[1] : 0U;
  const std::uint32_t third = size > 2 ? in[2] : 0U;
  const std::uint32_t bits = std::uint32_t{in[0]} << 16 | second << 8 | third;
  putPair(bits >> 12, out);
  putPair(bits, out + 2);
  std::fill(out + size + 1, out + kGroupCharacters, static_cast<unsigned char>('='));
}

// The loop of all encoders: full groups only, two at a step while there is more behind them to read.
void encodeGroups(const unsigned char* in, std::size_t groups, unsigned char* out) {
  for (; groups >= 3; groups -= 2, in += 2 * kGroupBytes, out += 2 * kGroupCharacters) {
    const std::uint64_t bits = loadBigEndian(in);
    putPair(bits >> 52, out);
    putPair(bits >> 40, out + 2);
    putPair(bits >> 28, out + 4);
    putPair(bits >> 16, out + 6);
  }
  for (; groups > 0; --groups, in += kGroupBytes, out += kGroupCharacters) {
    encodeGroup(in, kGroupBytes, out);
  }
}

// At most kStreamChunk bytes. Each group is a call of its own, which is how the stream's buffer is filled.
void putChunk(const unsigned char* in, std::size_t size, FILE* out) {
  unsigned char text[kStreamChunk / kGroupBytes * kGroupCharacters];
  const std::size_t groups = size / kGroupBytes;
  const std::size_t rest = size % kGroupBytes;
  encodeGroups(in, groups, text);
  if (rest > 0) {
    encodeGroup(in + groups * kGroupBytes, rest, text + groups * kGroupCharacters);
  }
  char group[kGroupCharacters + 1] = {};
  for (std::size_t i = 0; i < groups + (rest > 0 ? 1 : 0); ++i) {
    memcpy(group, text + i * kGroupCharacters, kGroupCharacters);
    fputs(group, out);
  }
}

std::uint32_t valueOf(char character) {
  return static_cast<std::uint32_t>(kDecodeTable.value[static_cast<unsigned char>(character)]);
}

// The 24 bits of 4 digits; with kNotDigit where not all are digits.
std::uint32_t cleanGroup(const char* in) {
  return valueOf(in[0]) << 18 | valueOf(in[1]) << 12 | valueOf(in[2]) << 6 | valueOf(in[3]);
}

// Decodes one text; knows where it reads and writes. `in` and `out` may be the same: writing overtakes reading only
// when that has stopped for good, at a character that ends the input, and what is written there then ends it too.
class Decoder {
 public:
  Decoder(char* in, std::size_t groups, char* out, std::size_t maxOut)
      : m_pIn(in), m_groups(groups), m_pOut(reinterpret_cast<unsigned char*>(out)), m_room(maxOut) {}

  CommonReturnCode_t run() {
    while (m_groups > 0) {
      decodeCleanGroups();
      // What stopped that loop is among the next groups: they are decoded one by one, exactly.
      for (std::size_t i = std::min(m_groups, kStep); i > 0; --i, --m_groups) {
        const CommonReturnCode_t result = decodeGroup();
        if (result != CommonReturnCode_Ok) {
          return result;
        }
      }
    }
    return CommonReturnCode_Ok;
  }

  const unsigned char* end() const { return m_pOut; }

 private:
  static constexpr std::size_t kStep = 4;  // groups

  // As long as there are only digits, and room for all that they give.
  void decodeCleanGroups() {
    while (m_groups >= kStep && m_room >= kStep * kGroupBytes) {
      const std::uint32_t group0 = cleanGroup(m_pIn);
      const std::uint32_t group1 = cleanGroup(m_pIn + kGroupCharacters);
      const std::uint32_t group2 = cleanGroup(m_pIn + 2 * kGroupCharacters);
      const std::uint32_t group3 = cleanGroup(m_pIn + 3 * kGroupCharacters);
      if (((group0 | group1 | group2 | group3) & kNotDigit) != 0) {
        return;
      }
      storeBigEndian(m_pOut, group0 << 8 | group1 >> 16);
      storeBigEndian(m_pOut + 4, group1 << 16 | group2 >> 8);
      storeBigEndian(m_pOut + 8, group2 << 24 | group3);
      m_pIn += kStep * kGroupCharacters;
      m_pOut += kStep * kGroupBytes;
      m_room -= kStep * kGroupBytes;
      m_groups -= kStep;
    }
  }

  CommonReturnCode_t decodeGroup() {
    std::uint32_t value[kGroupCharacters] = {kPadding, kPadding, kPadding, kPadding};
    for (std::size_t i = 0; i < kGroupCharacters && *m_pIn != '\0' && *m_pIn != '#'; ++i, ++m_pIn) {
      acceptUrlSafe();
      value[i] = valueOf(*m_pIn) & kPositionBits;
      if (value[i] == kUnknown) {
        return CommonReturnCode_InvalidProtocol;
      }
    }
    return putGroup(value);
  }

  void acceptUrlSafe() {
    if (*m_pIn == '_') {
      *m_pIn = '/';
    } else if (*m_pIn == '-') {
      *m_pIn = '+';
    }
  }

  // The values are added, not joined: those of white space have a seventh bit, which carries.
  CommonReturnCode_t putGroup(const std::uint32_t (&value)[kGroupCharacters]) {
    if (value[0] == kPadding) {
      return putBytes(0, 1);
    }
    std::uint32_t bits = value[0] << 18;
    for (unsigned int i = 1; i < kGroupCharacters; ++i) {
      bits += value[i] != kPadding ? value[i] << (18 - 6 * i) : 0;
    }
    if (value[1] == kPadding || value[2] == kPadding) {
      return putBytes(bits, 1);
    }
    return putBytes(bits, value[3] == kPadding ? 2 : 3);
  }

  CommonReturnCode_t putBytes(std::uint32_t bits, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) {
      if (m_room == 0) {
        return CommonReturnCode_InvalidParameter;
      }
      *m_pOut++ = static_cast<unsigned char>(bits >> (16 - 8 * i));
      --m_room;
    }
    return CommonReturnCode_Ok;
  }

  char* m_pIn;
  std::size_t m_groups;  // still to decode
  unsigned char* m_pOut;
  std::size_t m_room;  // bytes that may still be written
};

}  // namespace

Base64EncDec::Base64EncDec() {
  setObjectType(ObjectType_Base64EncDec);
}

Base64EncDec::~Base64EncDec() = default;

unsigned int Base64EncDec::encodeSize(unsigned int n) const {
  return n % kGroupBytes == 0 ? n * 4 / 3 : n * 4 / 3 + 4;
}

unsigned int Base64EncDec::decodeMaxSize(unsigned int n) const {
  return n * 3 >> 2;
}

CommonReturnCode_t Base64EncDec::putBase64(const unsigned char* in, unsigned int inSize, unsigned char* out,
                                           unsigned int maxSize, unsigned int& outSize) const {
  if (in == nullptr || out == nullptr || encodeSize(inSize) > maxSize) {
    return CommonReturnCode_InvalidParameter;
  }
  outSize = 0;
  if (static_cast<int>(inSize) <= 0) {
    return CommonReturnCode_Ok;
  }
  // Groups for which there is room need no check of their own. The room can end earlier than the data, because
  // encodeSize() wraps round from 1 GiB on: the next group's first character too many then ends the process.
  const auto groups = static_cast<unsigned int>(std::min(inSize / kGroupBytes, maxSize / kGroupCharacters));
  encodeGroups(in, groups, out);
  outSize = groups * static_cast<unsigned int>(kGroupCharacters);
  const std::size_t rest = inSize - groups * kGroupBytes;
  if (rest > 0) {
    unsigned char group[kGroupCharacters];
    encodeGroup(in + groups * kGroupBytes, std::min(rest, kGroupBytes), group);
    for (const unsigned char character : group) {
      KELP_ASSERT(outSize < maxSize, "outSize < maxSize");
      out[outSize++] = character;
    }
  }
  return CommonReturnCode_Ok;
}

CommonReturnCode_t Base64EncDec::putBase64Mem(void* data, unsigned int& size, FILE* out) const {
  if (data == nullptr || out == nullptr) {
    return CommonReturnCode_InvalidParameter;
  }
  const auto* in = static_cast<const unsigned char*>(data);
  for (std::size_t rest = size; rest > 0;) {
    const std::size_t chunk = std::min(rest, kStreamChunk);
    putChunk(in, chunk, out);
    in += chunk;
    rest -= chunk;
  }
  return CommonReturnCode_Ok;
}

CommonReturnCode_t Base64EncDec::putBase64(FILE* in, FILE* out) const {
  if (in == nullptr || out == nullptr) {
    return CommonReturnCode_InvalidParameter;
  }
  unsigned char data[kStreamChunk];
  for (std::size_t size = 0; (size = fread(data, 1, sizeof data, in)) > 0;) {
    putChunk(data, size, out);
  }
  return CommonReturnCode_Ok;
}

CommonReturnCode_t Base64EncDec::getBase64(char* buf, unsigned int len, unsigned int& outSize) const {
  return getBase64(buf, len, buf, std::numeric_limits<unsigned int>::max(), outSize);
}

CommonReturnCode_t Base64EncDec::getBase64(char* in, unsigned int len, char* out, unsigned int maxOut,
                                           unsigned int& outSize) const {
  outSize = 0;
  const unsigned int groups = (len + 3) / 4;
  if (groups == 0) {
    return CommonReturnCode_Ok;
  }
  if (in == nullptr || out == nullptr) {
    return CommonReturnCode_InvalidParameter;
  }
  Decoder decoder(in, groups, out, maxOut);
  const CommonReturnCode_t result = decoder.run();
  outSize = static_cast<unsigned int>(decoder.end() - reinterpret_cast<unsigned char*>(out));
  return result;
}

}  // namespace Kelp
