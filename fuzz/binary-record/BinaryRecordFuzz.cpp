// The input is a byte n, n bytes of a package file, and the request: a binary record. One that names kPackage has the
// package decoded.
#include <stddef.h>
#include <stdint.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "BinaryParser.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/Input.h"
#include "fuzz/support/ParserChecks.h"
#include "fuzz/support/Platform.h"
#include "support/BinaryRecordReference.h"

namespace {

using Kelp::BinaryParser;
using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_Ok;
using KelpTest::BinaryRecordReference;
using KelpTest::Decoding;
using KelpTest::RequestMember;

constexpr size_t kLongestPath = 255;

struct Request {
  std::string package;
  std::string record;
};

// Where it always lies, so that kept records name it.
constexpr char kPackage[] = "/mnt/fuzz/package";

// Without line ends and blanks, and with NULs for what is missing of the last group.
Decoding decodedPackage(std::string text) {
  if (text.empty()) {
    return {CommonReturnCode_Ok, "", ""};  // the file is only touched
  }
  text.erase(
      std::remove_if(text.begin(), text.end(), [](char each) { return each == '\r' || each == '\n' || each == ' '; }),
      text.end());
  const size_t length = text.size();
  text.resize((length + 3) / 4 * 4, '\0');
  return KelpTest::decodedCharByChar(text, length, text.size(), false);
}

void checkFileData(BinaryParser& parser, const RequestMember& member, const std::string& package) {
  const Decoding actual = KelpFuzz::dataToFile(parser, member.name, KelpFuzz::pathOf("output"));
  if (member.value.empty() || member.value.size() > kLongestPath) {
    FUZZ_CHECK_EQ(actual.result, CommonReturnCode_InvalidProtocol);
  } else if (member.value == kPackage) {
    const Decoding expected = decodedPackage(package);
    FUZZ_CHECK_EQ(actual.result, expected.result);
    FUZZ_CHECK_EQ(actual.data, expected.result == CommonReturnCode_Ok ? expected.data : std::string());
  } else if (!KelpFuzz::isThere(member.value)) {
    FUZZ_CHECK_EQ(actual.result, CommonReturnCode_IoError);
  }
}

// The record's own bytes, from where the member's text stands in the text.
void checkMemoryData(BinaryParser& parser, const RequestMember& member, const std::string& record) {
  const Decoding actual = KelpFuzz::dataToMemory(parser, member.name);
  if (member.value.empty() || member.offset + member.value.size() > record.size()) {
    FUZZ_CHECK_EQ(actual.result, CommonReturnCode_InvalidProtocol);
    return;
  }
  FUZZ_CHECK_EQ(actual.result, CommonReturnCode_Ok);
  FUZZ_CHECK_EQ(actual.data, record.substr(member.offset, member.value.size()));
}

void checkMember(BinaryParser& parser, const RequestMember& member, const Request& request) {
  if (member.value.empty()) {
    KelpFuzz::checkNothingIsGiven(parser, member.name);
    return;
  }
  KelpFuzz::checkPlace(parser, member);
  KelpFuzz::checkNumbersAndText(parser, member, true);
  checkMemoryData(parser, member, request.record);
  checkFileData(parser, member, request.package);
}

void checkRequest(const std::string& path, const Request& request) {
  const KelpFuzz::Residue residue;
  const BinaryRecordReference reference(request.record);
  BinaryParser parser(path);
  FUZZ_CHECK_EQ(KelpTest::stateOf(parser), reference.state());
  FUZZ_CHECK_EQ(KelpFuzz::mappedFileCount(), request.record.empty() ? 0U : 1U);
  long offset = 0;
  FUZZ_CHECK_EQ(parser.getMemberInfo("absent", offset), 0U);
  KelpFuzz::checkNothingIsGiven(parser, "absent");
  if (reference.state() != KelpTest::State::Done) {
    KelpFuzz::checkNothingIsGiven(parser, "methodName");
    return;
  }
  for (const RequestMember& member : reference.members()) {
    checkMember(parser, member, request);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static KelpFuzz::MemoryFile s_record("record");
  static KelpFuzz::MemoryFile s_package("package");
  FUZZ_CHECK_EQ(s_package.path(), kPackage);
  KelpFuzz::Input input(data, size);
  Request request;
  request.package = input.text(input.byte());
  request.record = input.rest();
  s_package.write(request.package);
  s_record.write(request.record);
  checkRequest(s_record.path(), request);
  return 0;
}
