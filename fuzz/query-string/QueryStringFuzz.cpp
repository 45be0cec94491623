// The input is the request: a query string.
#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <string>
#include <vector>

#include "QueryStringParser.h"
#include "RequestDecoder.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/ParserChecks.h"
#include "fuzz/support/Platform.h"
#include "support/QueryStringReference.h"

namespace {

using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_Ok;
using Kelp::QueryStringParser;
using Kelp::RequestDecoder;
using KelpTest::Decoding;
using KelpTest::RequestMember;

constexpr size_t kMostFiles = 2;  // each costs as much as all the rest

// The values as they stand packed in the parser's memory, where they are decoded in place. What stands behind the last
// one is not known.
class PackedValues {
 public:
  explicit PackedValues(const std::vector<RequestMember>& members) : m_isKnown(true) {
    for (const RequestMember& member : members) {
      m_memory += member.value;
    }
  }

  // Checks what the parser made of a member's text: all of it or, where the last group reaches behind what is known,
  // all but that.
  void checkDecoded(const RequestMember& member, const Decoding& actual) {
    if (!m_isKnown) {
      return;
    }
    const size_t wholeSize = (member.value.size() + 3) / 4 * 4;
    m_isKnown = member.offset + wholeSize <= m_memory.size();
    const size_t knownSize = m_isKnown ? wholeSize : member.value.size() / 4 * 4;
    const size_t length = std::min(knownSize, member.value.size());
    const Decoding expected =
        KelpTest::decodedCharByChar(m_memory.substr(member.offset, knownSize), length, knownSize, true);
    if (m_isKnown || expected.result != CommonReturnCode_Ok) {
      FUZZ_CHECK_EQ(actual.result, expected.result);
    }
    if (actual.result == CommonReturnCode_Ok) {
      const size_t size = m_isKnown ? std::string::npos : expected.data.size();
      FUZZ_CHECK_EQ(actual.data.substr(0, size), expected.data);
      FUZZ_CHECK(actual.data.size() <= expected.data.size() + (m_isKnown ? 0 : 3));
    }
    m_memory.replace(member.offset, knownSize, expected.text);
  }

 private:
  std::string m_memory;
  bool m_isKnown;
};

void checkMemoryData(RequestDecoder& decoder, const std::vector<RequestMember>& all,
                     const std::vector<RequestMember>& asked) {
  PackedValues values(all);
  for (const RequestMember& member : asked) {
    const Decoding actual = KelpFuzz::dataToMemory(decoder, member.name);
    if (member.value.empty()) {
      FUZZ_CHECK_EQ(actual.result, CommonReturnCode_InvalidProtocol);
    } else {
      values.checkDecoded(member, actual);
    }
  }
}

void checkFileData(RequestDecoder& decoder, const std::vector<RequestMember>& all,
                   const std::vector<RequestMember>& asked) {
  PackedValues values(all);
  for (size_t i = 0; i < std::min(asked.size(), kMostFiles); ++i) {
    const Decoding actual = KelpFuzz::dataToFile(decoder, asked[i].name, KelpFuzz::pathOf("output"), i);
    if (asked[i].value.empty()) {
      FUZZ_CHECK(actual.result == CommonReturnCode_Ok && actual.data.empty());
    } else {
      values.checkDecoded(asked[i], actual);
    }
  }
}

// The operation by itself, over the whole body.
void checkCharacters(const QueryStringParser& parser, const std::string& body) {
  KelpTest::QueryStringReference reference(body);
  std::vector<char> text(body.begin(), body.end());
  char* cursor = text.data();
  auto remaining = static_cast<unsigned int>(text.size());
  while (reference.left() > 0) {
    const char expected = reference.takeCharacter();
    FUZZ_CHECK_EQ(parser.charDecoding(cursor, remaining), expected);
    FUZZ_CHECK_EQ(remaining, reference.left());
    FUZZ_CHECK(cursor + remaining == text.data() + text.size());
  }
  FUZZ_CHECK_EQ(parser.charDecoding(cursor, remaining), '\0');
}

void checkRequest(const std::string& path, const std::string& body) {
  const KelpFuzz::Residue residue;
  const std::vector<RequestMember> all = KelpTest::QueryStringReference(body).members();
  const std::vector<RequestMember> asked = KelpFuzz::membersToAsk(all);
  QueryStringParser parser(path);
  RequestDecoder decoder(parser);
  FUZZ_CHECK_EQ(KelpTest::stateOf(parser), KelpTest::State::Done);
  FUZZ_CHECK_EQ(KelpFuzz::mappedFileCount(), body.empty() ? 0U : 1U);
  for (const RequestMember& member : asked) {
    KelpFuzz::checkPlace(parser, member);
    KelpFuzz::checkNumbersAndText(decoder, member, false);
  }
  const std::string absent = KelpFuzz::absentName(all);
  long offset = 0;
  FUZZ_CHECK_EQ(parser.getMemberInfo(absent, offset), KelpFuzz::kNoMember);
  KelpFuzz::checkNothingIsGiven(decoder, absent);
  KelpFuzz::checkApi(decoder, all);
  checkCharacters(parser, body);
  KelpFuzz::allowWholeGroupsOfMappedFiles();
  checkMemoryData(decoder, all, asked);
  QueryStringParser second(path);
  RequestDecoder secondDecoder(second);
  KelpFuzz::allowWholeGroupsOfMappedFiles();
  checkFileData(secondDecoder, all, asked);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static KelpFuzz::MemoryFile s_request("request");
  const std::string body(data, data + size);
  s_request.write(body);
  checkRequest(s_request.path(), body);
  return 0;
}
