// The input is a byte n, n bytes of a package file, and the request: a binary record. One that names kPackage has the
// package decoded; one that names another file of this machine, a directory or a device, that.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "BinaryParser.h"
#include "RequestDecoder.h"
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
using Kelp::RequestDecoder;
using KelpTest::BinaryRecordReference;
using KelpTest::Decoding;
using KelpTest::RequestMember;

constexpr size_t kLongestPath = 255;
constexpr off_t kLargestFile = 1 << 20;  // larger ones that a record names would only take time

struct Request {
  std::string package;
  std::string record;
};

// Where it always lies, so that kept records name it.
constexpr char kPackage[] = "/mnt/fuzz/package";

// Without line ends and blanks, and with NULs for what is missing of the last group. An empty text has no character to
// decode: the file that it is for is only touched.
Decoding decodedPackage(std::string text) {
  if (text.empty()) {
    return {CommonReturnCode_Ok, "", ""};
  }
  text.erase(
      std::remove_if(text.begin(), text.end(), [](char each) { return each == '\r' || each == '\n' || each == ' '; }),
      text.end());
  const size_t length = text.size();
  text.resize((length + 3) / 4 * 4, '\0');
  return KelpTest::decodedCharByChar(text, length, text.size(), false);
}

// As many bytes as the file is said to have. Directories have none that can be read, and files that the kernel makes up
// may have fewer.
bool readWhole(const std::string& path, std::string& content) {
  FILE* const file = fopen(path.c_str(), "re");
  const bool isRead = file != nullptr && fread(&content[0], 1, content.size(), file) == content.size();
  if (file != nullptr) {
    fclose(file);
  }
  return isRead;
}

// What any other file is decoded to. What has no size is taken for empty, devices and FIFOs too: none is opened.
Decoding decodedFile(const std::string& path, const struct stat& status) {
  std::string content(static_cast<size_t>(status.st_size), '\0');
  if (!content.empty() && !readWhole(path, content)) {
    return {CommonReturnCode_IoError, "", ""};
  }
  return decodedPackage(content);
}

void checkFileData(RequestDecoder& decoder, const RequestMember& member, const std::string& package) {
  struct stat status = {};
  const bool isPackage = member.value == kPackage;
  const bool isThere = isPackage || stat(member.value.c_str(), &status) == 0;
  if (status.st_size > kLargestFile) {
    return;
  }
  const Decoding actual = KelpFuzz::dataToFile(decoder, member.name, KelpFuzz::pathOf("output"), package.size());
  if (member.value.empty() || member.value.size() > kLongestPath) {
    FUZZ_CHECK_EQ(actual.result, CommonReturnCode_InvalidProtocol);
  } else if (!isThere) {
    FUZZ_CHECK_EQ(actual.result, CommonReturnCode_IoError);
  } else {
    const Decoding expected = isPackage ? decodedPackage(package) : decodedFile(member.value, status);
    FUZZ_CHECK_EQ(actual.result, expected.result);
    FUZZ_CHECK_EQ(actual.data, expected.result == CommonReturnCode_Ok ? expected.data : std::string());
  }
}

// The record's own bytes, from where the member's text stands in the text.
void checkMemoryData(RequestDecoder& decoder, const RequestMember& member, const std::string& record) {
  const Decoding actual = KelpFuzz::dataToMemory(decoder, member.name);
  if (member.value.empty() || member.offset + member.value.size() > record.size()) {
    FUZZ_CHECK_EQ(actual.result, CommonReturnCode_InvalidProtocol);
    return;
  }
  FUZZ_CHECK_EQ(actual.result, CommonReturnCode_Ok);
  FUZZ_CHECK_EQ(actual.data, record.substr(member.offset, member.value.size()));
}

void checkMember(const BinaryParser& parser, RequestDecoder& decoder, const RequestMember& member,
                 const Request& request) {
  if (member.value.empty()) {
    KelpFuzz::checkNothingIsGiven(decoder, member.name);
    return;
  }
  KelpFuzz::checkPlace(parser, member);
  KelpFuzz::checkNumbersAndText(decoder, member, true);
  checkMemoryData(decoder, member, request.record);
  checkFileData(decoder, member, request.package);
}

void checkRequest(const std::string& path, const Request& request) {
  const KelpFuzz::Residue residue;
  const BinaryRecordReference reference(request.record);
  BinaryParser parser(path);
  FUZZ_CHECK_EQ(KelpTest::stateOf(parser), reference.state());
  FUZZ_CHECK_EQ(KelpFuzz::mappedFileCount(), request.record.empty() ? 0U : 1U);
  long offset = 0;
  FUZZ_CHECK_EQ(parser.getMemberInfo("absent", offset), 0U);
  RequestDecoder decoder(parser);
  KelpFuzz::checkNothingIsGiven(decoder, "absent");
  if (reference.state() != KelpTest::State::Done) {
    KelpFuzz::checkNothingIsGiven(decoder, "methodName");
    return;
  }
  KelpFuzz::checkApi(decoder, reference.members());
  for (const RequestMember& member : reference.members()) {
    checkMember(parser, decoder, member, request);
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
