#include "fuzz/support/ParserChecks.h"

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <climits>

using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;
using Kelp::RpcParser;
using KelpTest::Decoding;
using KelpTest::RequestMember;

namespace KelpFuzz {

namespace {

constexpr size_t kMostAsked = 12;

}  // namespace

int decimalOf(const std::string& text) {
  const long long number = strtoll(text.c_str(), nullptr, 10);
  return static_cast<int>(std::clamp<long long>(number, INT_MIN, INT_MAX));
}

int hexadecimalOf(const std::string& text) {
  auto number = static_cast<unsigned int>(kUntouched);
  sscanf(text.c_str(), "%08X", &number);
  return static_cast<int>(number);
}

std::string absentName(const std::vector<RequestMember>& members) {
  std::string name = "absent";
  while (std::any_of(members.begin(), members.end(), [&](const RequestMember& each) { return each.name == name; })) {
    name += 'x';
  }
  return name;
}

std::vector<RequestMember> membersToAsk(const std::vector<RequestMember>& members) {
  std::vector<RequestMember> result;
  for (const RequestMember& member : members) {
    const bool isFirst =
        std::none_of(result.begin(), result.end(), [&](const RequestMember& each) { return each.name == member.name; });
    if (isFirst) {
      result.push_back(member);
    }
    if (result.size() == kMostAsked) {
      break;
    }
  }
  return result;
}

void checkNothingIsGiven(RpcParser& parser, const std::string& name) {
  int number = kUntouched;
  FUZZ_CHECK_EQ(parser.getDecimal(name, number), CommonReturnCode_InvalidProtocol);
  FUZZ_CHECK_EQ(parser.getHexadecimal(name, number), CommonReturnCode_InvalidProtocol);
  FUZZ_CHECK_EQ(number, kUntouched);
  std::string text = "untouched";
  FUZZ_CHECK_EQ(parser.getStringData(name, text), CommonReturnCode_InvalidProtocol);
  FUZZ_CHECK_EQ(text, std::string("untouched"));
  FUZZ_CHECK_EQ(dataToMemory(parser, name).result, CommonReturnCode_InvalidProtocol);
  FUZZ_CHECK_EQ(parser.getBinaryData(name, pathOf("absent")), CommonReturnCode_InvalidProtocol);
  FUZZ_CHECK(!isThere(pathOf("absent")));
}

void checkNumbersAndText(RpcParser& parser, const RequestMember& member, bool isEmptyMissing) {
  const CommonReturnCode_t numberResult = member.value.empty() ? CommonReturnCode_InvalidProtocol : CommonReturnCode_Ok;
  int number = kUntouched;
  FUZZ_CHECK_EQ(parser.getDecimal(member.name, number), numberResult);
  FUZZ_CHECK_EQ(number, member.value.empty() ? kUntouched : decimalOf(member.value));
  number = kUntouched;
  FUZZ_CHECK_EQ(parser.getHexadecimal(member.name, number), numberResult);
  FUZZ_CHECK_EQ(number, member.value.empty() ? kUntouched : hexadecimalOf(member.value));
  std::string text = "untouched";
  const bool isMissing = member.value.empty() && isEmptyMissing;
  FUZZ_CHECK_EQ(parser.getStringData(member.name, text),
                isMissing ? CommonReturnCode_InvalidProtocol : CommonReturnCode_Ok);
  FUZZ_CHECK_EQ(text, isMissing ? std::string("untouched") : std::string(member.value.c_str()));
}

Decoding dataToMemory(RpcParser& parser, const std::string& name) {
  void* data = nullptr;
  unsigned int size = 77;
  const CommonReturnCode_t result = parser.getBinaryData(name, data, size);
  if (result != CommonReturnCode_Ok) {
    FUZZ_CHECK(data == nullptr && size == 77);
    return {result, "", ""};
  }
  FUZZ_CHECK(data != nullptr);
  Decoding decoding{result, std::string(static_cast<char*>(data), size), ""};
  Kelp::SysFunc::kelpFree(data);
  return decoding;
}

Decoding dataToFile(RpcParser& parser, const std::string& name, const std::string& outputPath) {
  const CommonReturnCode_t result = parser.getBinaryData(name, outputPath);
  FUZZ_CHECK_EQ(isThere(outputPath), result == CommonReturnCode_Ok);
  Decoding decoding{result, result == CommonReturnCode_Ok ? readFile(outputPath) : "", ""};
  removeFile(outputPath);
  return decoding;
}

}  // namespace KelpFuzz
