#include "support/Base64Reference.h"

using Kelp::CommonReturnCode_InvalidParameter;
using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_Ok;

namespace KelpTest {

std::string encodedBitByBit(const std::string& data) {
  std::string bits;
  for (const char byte : data) {
    for (int bit = 7; bit >= 0; --bit) {
      bits += ((static_cast<unsigned char>(byte) >> bit) & 1) != 0 ? '1' : '0';
    }
  }
  bits.resize((bits.size() + 5) / 6 * 6, '0');
  std::string text;
  for (std::size_t i = 0; i < bits.size(); i += 6) {
    text += kBase64Tokens[std::stoul(bits.substr(i, 6), nullptr, 2)];
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
