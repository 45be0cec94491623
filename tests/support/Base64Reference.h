// A second opinion on Base64: bit by bit and character by character, without tables or blocks.
#ifndef KELP_TESTS_SUPPORT_BASE64_REFERENCE_H
#define KELP_TESTS_SUPPORT_BASE64_REFERENCE_H

#include <cstddef>
#include <string>
#include <string_view>

#include "KelpReturnCode.h"

namespace KelpTest {

// What the decoder looks a character up in: its value is its place.
constexpr std::string_view kBase64Tokens =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/ \f\t\n\r\v=";

std::string encodedBitByBit(const std::string& data);

struct Decoding {
  Kelp::CommonReturnCode_t result;
  std::string data;  // what stands decoded
  std::string text;  // the input afterwards
};

// `text` reaches up to a multiple of 4; `length` is what the caller says. In place, the data goes over the text.
Decoding decodedCharByChar(std::string text, std::size_t length, std::size_t room, bool inPlace);

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_BASE64_REFERENCE_H
