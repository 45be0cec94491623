#include "support/Base64Reference.h"

using Kelp::CommonReturnCode_InvalidParameter;
using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_Ok;

namespace KelpTest {

namespace {

// 0 behind the end.
unsigned int bitAt(const std::string& data, std::size_t index) {
  return index / 8 < data.size() ? (0U + static_cast<unsigned char>(data[index / 8])) >> (7 - index % 8) & 1U : 0U;
}

}  // namespace

std::string encodedBitByBit(const std::string& data) {
  std::string text;
  for (std::size_t first = 0; first < 8 * data.size(); first += 6) {
    unsigned int value = 0;
    for (std::size_t bit = first; bit < first + 6; ++bit) {
      value = 2 * value + bitAt(data, bit);
    }
    text += kBase64Tokens[value];
  }
  text.resize((text.size() + 3) / 4 * 4, '=');
  return text;
}

Decoding decodedCharByChar(std::string text, std::size_t length, std::size_t room, bool inPlace) {
  std::string data;
  std::size_t next = 0;
  for (std::size_t group = 0; group < (length + 3) / 4; ++group) {
    std::string characters;
    while (characters.size() < 4 && text[next] != '\0' && text[next] != '#') {
      text[next] = text[next] == '_' ? '/' : text[next] == '-' ? '+' : text[next];
      if (kBase64Tokens.find(text[next]) == std::string_view::npos) {
        return {CommonReturnCode_InvalidProtocol, data, text};
      }
      characters += text[next++];
    }
    characters.resize(4, '=');
    unsigned long bits = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      bits += characters[i] == '=' ? 0 : kBase64Tokens.find(characters[i]) << (18 - 6 * i);
    }
    bits = characters[0] == '=' ? 0 : bits;
    const bool isOne = characters[0] == '=' || characters[1] == '=' || characters[2] == '=';
    const std::size_t count = isOne ? 1 : characters[3] == '=' ? 2 : 3;
    for (std::size_t i = 0; i < count; ++i) {
      if (data.size() == room) {
        return {CommonReturnCode_InvalidParameter, data, text};
      }
      data += static_cast<char>(bits >> (16 - 8 * i));
      if (inPlace) {
        text[data.size() - 1] = data.back();
      }
    }
  }
  return {CommonReturnCode_Ok, data, text};
}

}  // namespace KelpTest
