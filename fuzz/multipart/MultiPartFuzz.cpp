// The input is the request: a multipart form. A byte of 1 and the byte n behind it stand for 16384 - n letters, because
// the parser looks at data in blocks of that size.
#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <string>
#include <vector>

#include "MultiPartParser.h"
#include "RequestDecoder.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/ParserChecks.h"
#include "fuzz/support/Platform.h"
#include "support/MultiPartReference.h"

namespace {

using Kelp::CommonReturnCode_Ok;
using Kelp::MultiPartParser;
using Kelp::RequestDecoder;
using KelpTest::Decoding;
using KelpTest::MultiPartReference;
using KelpTest::RequestMember;

constexpr size_t kMostFiles = 2;    // each costs as much as all the rest
constexpr size_t kMostFillers = 3;  // more would be slow and nothing new
constexpr size_t kBlock = 16384;
constexpr uint8_t kFiller = 1;

std::string requestOf(const uint8_t* data, size_t size) {
  std::string body;
  size_t fillers = 0;
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == kFiller && i + 1 < size && fillers < kMostFillers) {
      body.append(kBlock - data[++i], 'A');
      ++fillers;
    } else {
      body += static_cast<char>(data[i]);
    }
  }
  return body;
}

// "Invalid Protocol" may have come with some data decoded.
void checkSame(const Decoding& actual, const Decoding& expected) {
  FUZZ_CHECK_EQ(actual.result, expected.result);
  FUZZ_CHECK_EQ(actual.data, expected.result == CommonReturnCode_Ok ? expected.data : std::string());
}

void checkMemoryData(RequestDecoder& decoder, MultiPartReference reference, const std::vector<RequestMember>& asked) {
  for (const RequestMember& member : asked) {
    checkSame(KelpFuzz::dataToMemory(decoder, member.name), reference.decode(member));
  }
}

void checkFileData(RequestDecoder& decoder, MultiPartReference reference, const std::vector<RequestMember>& asked) {
  for (size_t i = 0; i < std::min(asked.size(), kMostFiles); ++i) {
    checkSame(KelpFuzz::dataToFile(decoder, asked[i].name, KelpFuzz::pathOf("output"), i), reference.decode(asked[i]));
  }
}

void checkMembers(const std::string& path, const MultiPartParser& parser, RequestDecoder& decoder,
                  const MultiPartReference& reference) {
  const std::vector<RequestMember> asked = KelpFuzz::membersToAsk(reference.members());
  for (const RequestMember& member : asked) {
    KelpFuzz::checkPlace(parser, member);
    KelpFuzz::checkNumbersAndText(decoder, member, false);
  }
  KelpFuzz::checkApi(decoder, reference.members());
  KelpFuzz::allowWholeGroupsOfMappedFiles();
  checkMemoryData(decoder, reference, asked);
  if (!asked.empty()) {
    MultiPartParser second(path);
    RequestDecoder secondDecoder(second);
    KelpFuzz::allowWholeGroupsOfMappedFiles();
    checkFileData(secondDecoder, reference, asked);
  }
}

void checkRequest(const std::string& path, const std::string& body) {
  const KelpFuzz::Residue residue;
  const MultiPartReference reference(body);
  MultiPartParser parser(path);
  FUZZ_CHECK_EQ(KelpTest::stateOf(parser), reference.state());
  FUZZ_CHECK_EQ(KelpFuzz::mappedFileCount(), body.empty() ? 0U : 1U);
  const std::string absent = KelpFuzz::absentName(reference.members());
  long offset = 0;
  FUZZ_CHECK_EQ(parser.getMemberInfo(absent, offset), KelpFuzz::kNoMember);
  RequestDecoder decoder(parser);
  KelpFuzz::checkNothingIsGiven(decoder, absent);
  if (reference.state() == KelpTest::State::Done) {
    checkMembers(path, parser, decoder, reference);
  } else if (!reference.members().empty()) {
    KelpFuzz::checkNothingIsGiven(decoder, reference.members().front().name);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static KelpFuzz::MemoryFile s_request("request");
  const std::string body = requestOf(data, size);
  s_request.write(body);
  checkRequest(s_request.path(), body);
  return 0;
}
