// Base64 in memory, beside OpenSSL's plain encoder and decoder of blocks. Rates are of the data when encoding and of
// the text when decoding.
#include <openssl/evp.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "Base64EncDec.h"
#include "support/Clock.h"
#include "support/Comparison.h"

using namespace KelpBench;

namespace {

constexpr std::size_t kBytesPerRound = 200000000;

using Bytes = std::vector<unsigned char>;

Bytes randomBytes(std::size_t size) {
  std::mt19937 random(1);
  Bytes bytes(size);
  std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<unsigned char>(random()); });
  return bytes;
}

template <typename Operation>
double bytesPerSecond(std::size_t size, Operation operation) {
  const std::size_t repetitions = kBytesPerRound / size;
  const int64_t start = processCpuNanoseconds();
  for (std::size_t i = 0; i < repetitions; ++i) {
    operation();
  }
  const auto seconds = static_cast<double>(processCpuNanoseconds() - start) / 1e9;
  return static_cast<double>(repetitions * size) / seconds;
}

void compareEncoders(const std::string& what, const Bytes& data, Bytes& text) {
  const Kelp::Base64EncDec codec;
  const auto dataSize = static_cast<unsigned int>(data.size());
  const unsigned int room = codec.encodeSize(dataSize);
  Bytes floorText(room + 1);  // OpenSSL ends it with a NUL
  text.resize(room);
  unsigned int size = 0;
  compare(
      what + " encoded; floor: EVP_EncodeBlock", Figure::BytesPerSecond, atLeast(0.95),
      [&] {
        return bytesPerSecond(dataSize, [&] { codec.putBase64(data.data(), dataSize, text.data(), room, size); });
      },
      [&] {
        return bytesPerSecond(dataSize,
                              [&] { EVP_EncodeBlock(floorText.data(), data.data(), static_cast<int>(dataSize)); });
      });
  floorText.pop_back();
  require(size == room && text == floorText, "putBase64");
}

void compareDecoders(const std::string& what, const Bytes& data, Bytes& text) {
  const Kelp::Base64EncDec codec;
  const auto textSize = static_cast<unsigned int>(text.size());
  const auto room = static_cast<unsigned int>(data.size());
  auto* const characters = reinterpret_cast<char*>(text.data());
  Bytes decoded(room);
  Bytes floorDecoded(room);
  unsigned int size = 0;
  compare(
      what + " decoded; floor: EVP_DecodeBlock", Figure::BytesPerSecond, atLeast(0.95),
      [&] {
        return bytesPerSecond(textSize, [&] {
          codec.getBase64(characters, textSize, reinterpret_cast<char*>(decoded.data()), room, size);
        });
      },
      [&] {
        return bytesPerSecond(textSize,
                              [&] { EVP_DecodeBlock(floorDecoded.data(), text.data(), static_cast<int>(textSize)); });
      });
  require(size == room && decoded == data && floorDecoded == data, "getBase64");
}

}  // namespace

int main() {
  const std::pair<const char*, std::size_t> sizes[] = {{"48 B", 48}, {"3 KiB", 3072}, {"1 MiB", 3 * 349525}};
  for (const auto& [name, size] : sizes) {
    const Bytes data = randomBytes(size);
    Bytes text;
    compareEncoders(std::string("Base64 of ") + name, data, text);
    compareDecoders(std::string("Base64 of ") + name, data, text);
  }
}
