#include "fuzz/support/ParserChecks.h"

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <climits>

using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;
using Kelp::RequestDecoder;
using Kelp::RpcDecoder;
using KelpTest::Decoding;
using KelpTest::RequestMember;

namespace KelpFuzz {

namespace {

constexpr size_t kMostAsked = 12;

using NumberGetter = CommonReturnCode_t (RpcDecoder::*)(const std::string&, int&);
using TextGetter = CommonReturnCode_t (RpcDecoder::*)(const std::string&, std::string&);
using FileGetter = CommonReturnCode_t (RpcDecoder::*)(const std::string&, const std::string&);

constexpr NumberGetter kDecimals[] = {
    &RpcDecoder::getFuncId,      &RpcDecoder::getExecId,    &RpcDecoder::getProcessId,
    &RpcDecoder::getAppDataType, &RpcDecoder::getResetCode, &RpcDecoder::getCallback,
};
constexpr TextGetter kTexts[] = {
    &RpcDecoder::getArgString, &RpcDecoder::getPrefName,     &RpcDecoder::getPrefValue,
    &RpcDecoder::getPrefType,  &RpcDecoder::getRestorePrefs,
};
constexpr FileGetter kFiles[] = {&RpcDecoder::getAppPackage, &RpcDecoder::getAppData};

template <typename Getter, size_t kCount>
Getter turnOf(const Getter (&getters)[kCount], size_t turn) {
  return getters[turn % kCount];
}

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

void checkNothingIsGiven(RequestDecoder& decoder, const std::string& name) {
  int number = kUntouched;
  for (const NumberGetter getter : kDecimals) {
    FUZZ_CHECK_EQ((decoder.*getter)(name, number), CommonReturnCode_InvalidProtocol);
  }
  FUZZ_CHECK_EQ(decoder.getInstallId(name, number), CommonReturnCode_InvalidProtocol);
  FUZZ_CHECK_EQ(number, kUntouched);
  std::string text = "untouched";
  for (const TextGetter getter : kTexts) {
    FUZZ_CHECK_EQ((decoder.*getter)(name, text), CommonReturnCode_InvalidProtocol);
  }
  FUZZ_CHECK_EQ(text, std::string("untouched"));
  FUZZ_CHECK_EQ(dataToMemory(decoder, name).result, CommonReturnCode_InvalidProtocol);
  for (const FileGetter getter : kFiles) {
    FUZZ_CHECK_EQ((decoder.*getter)(name, pathOf("absent")), CommonReturnCode_InvalidProtocol);
  }
  FUZZ_CHECK(!isThere(pathOf("absent")));
}

void checkApi(RequestDecoder& decoder, const std::vector<RequestMember>& members) {
  const auto member =
      std::find_if(members.begin(), members.end(), [](const RequestMember& each) { return each.name == "methodName"; });
  const bool hasApi = member != members.end();
  std::string api = "untouched";
  FUZZ_CHECK_EQ(decoder.getApi(api), hasApi ? CommonReturnCode_Ok : CommonReturnCode_InvalidProtocol);
  FUZZ_CHECK_EQ(api, hasApi ? std::string(member->value.c_str()) : std::string("untouched"));
}

void checkNumbersAndText(RequestDecoder& decoder, const RequestMember& member, bool isEmptyMissing) {
  const size_t turn = member.offset + member.name.size() + member.value.size();
  const CommonReturnCode_t numberResult = member.value.empty() ? CommonReturnCode_InvalidProtocol : CommonReturnCode_Ok;
  int number = kUntouched;
  FUZZ_CHECK_EQ((decoder.*turnOf(kDecimals, turn))(member.name, number), numberResult);
  FUZZ_CHECK_EQ(number, member.value.empty() ? kUntouched : decimalOf(member.value));
  number = kUntouched;
  FUZZ_CHECK_EQ(decoder.getInstallId(member.name, number), numberResult);
  FUZZ_CHECK_EQ(number, member.value.empty() ? kUntouched : hexadecimalOf(member.value));
  std::string text = "untouched";
  const bool isMissing = member.value.empty() && isEmptyMissing;
  FUZZ_CHECK_EQ((decoder.*turnOf(kTexts, turn))(member.name, text),
                isMissing ? CommonReturnCode_InvalidProtocol : CommonReturnCode_Ok);
  FUZZ_CHECK_EQ(text, isMissing ? std::string("untouched") : std::string(member.value.c_str()));
}

Decoding dataToMemory(RequestDecoder& decoder, const std::string& name) {
  void* data = nullptr;
  unsigned int size = 77;
  const CommonReturnCode_t result = decoder.getAppData(name, data, size);
  if (result != CommonReturnCode_Ok) {
    FUZZ_CHECK(data == nullptr && size == 77);
    return {result, "", ""};
  }
  FUZZ_CHECK(data != nullptr);
  Decoding decoding{result, std::string(static_cast<char*>(data), size), ""};
  Kelp::SysFunc::kelpFree(data);
  return decoding;
}

Decoding dataToFile(RequestDecoder& decoder, const std::string& name, const std::string& outputPath, size_t turn) {
  const CommonReturnCode_t result = (decoder.*turnOf(kFiles, turn))(name, outputPath);
  FUZZ_CHECK_EQ(isThere(outputPath), result == CommonReturnCode_Ok);
  Decoding decoding{result, result == CommonReturnCode_Ok ? readFile(outputPath) : "", ""};
  removeFile(outputPath);
  return decoding;
}

}  // namespace KelpFuzz
