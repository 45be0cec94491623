#include <errno.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "Base64EncDec.h"
#include "MultiPartParser.h"
#include "SysFunc.h"
#include "support/CallFaults.h"
#include "support/LogCapture.h"
#include "support/MultiPartReference.h"
#include "support/ObjectType.h"
#include "support/RandomSource.h"
#include "support/RequestGenerators.h"
#include "tests/rpc/ParserTests.h"

namespace {

using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_NotEnoughMemory;
using Kelp::CommonReturnCode_Ok;
using Kelp::MultiPartParser;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::damagedForm;
using KelpTest::expectEveryGetterAnswersInvalidProtocol;
using KelpTest::failed;
using KelpTest::getData;
using KelpTest::getFile;
using KelpTest::getRaw;
using KelpTest::getString;
using KelpTest::invalid;
using KelpTest::kBase64Digits;
using KelpTest::kDisposition;
using KelpTest::kNoMember;
using KelpTest::kOutput;
using KelpTest::kRequest;
using KelpTest::kUntouched;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::MultiPartReference;
using KelpTest::ok;
using KelpTest::part;
using KelpTest::randomBoundary;
using KelpTest::RandomSource;
using KelpTest::readFile;
using KelpTest::RequestMember;
using KelpTest::scrambledForm;
using KelpTest::State;
using KelpTest::stateOf;
using KelpTest::Text;
using KelpTest::WellFormedForm;
using KelpTest::wellFormedForm;
using KelpTest::writeFile;
using GuardedRequest = KelpTest::GuardedRequest<MultiPartParser>;

const std::string kBoundary = "--XyZ";
const std::size_t kPage = KelpTest::pageSize();

static_assert(!std::is_copy_constructible_v<MultiPartParser> && !std::is_copy_assignable_v<MultiPartParser>,
              "a copy would unmap the same memory");

std::unique_ptr<MultiPartParser> parse(const std::string& body) {
  return KelpTest::parseRequest<MultiPartParser>(body);
}

// A request of ready-made parts.
std::string request(const std::vector<std::string>& parts, const std::string& boundary = kBoundary) {
  return KelpTest::form(parts, boundary);
}

State stateAfter(const std::string& body) {
  return stateOf(*parse(body));
}

// --- Requests

TEST(MultiPartParserTest, RegistersUnderItsObjectType) {
  EXPECT_EQ(KelpTest::objectTypeOf(*parse("")), 30);
}

TEST(MultiPartParserTest, PacksValuesInOrderOfAppearance) {
  const auto parser = parse(request({part("methodName", "startApplication"), part("execId", "1")}));
  EXPECT_EQ(stateOf(*parser), State::Done);
  long offset = -1;
  EXPECT_EQ(parser->getMemberInfo("methodName", offset), 16U);
  EXPECT_EQ(offset, 0);
  EXPECT_EQ(parser->getMemberInfo("execId", offset), 1U);
  EXPECT_EQ(offset, 16);
  EXPECT_EQ(getString(*parser, "methodName"), ok("startApplication"));
  EXPECT_EQ(getString(*parser, "execId"), ok("1"));
}

TEST(MultiPartParserTest, EmptyFileIsABadRequest) {
  const LogCapture log;
  const auto parser = parse("");
  EXPECT_EQ(stateOf(*parser), State::Error);
  expectEveryGetterAnswersInvalidProtocol(*parser, "a");
  EXPECT_TRUE(log.lines().empty());
}

TEST(MultiPartParserTest, BodyThatDoesNotStartWithTwoHyphensIsABadRequest) {
  for (const std::string start : {"", "-", "\r\n--", " --", "-x-"}) {
    const auto parser = parse(start + request({part("a", "1")}).substr(2));
    EXPECT_EQ(stateOf(*parser), State::Error) << start;
    expectEveryGetterAnswersInvalidProtocol(*parser, "a");
  }
  EXPECT_EQ(stateAfter("-"), State::Error);
}

TEST(MultiPartParserTest, BoundaryLineAloneIsARequestWithoutMembers) {
  for (const std::string lineEnd : {"\r", "\n", "\r\n", "\n\r"}) {
    const auto parser = parse(kBoundary + lineEnd);
    EXPECT_EQ(stateOf(*parser), State::Done);
    expectEveryGetterAnswersInvalidProtocol(*parser, "a");
  }
}

TEST(MultiPartParserTest, FirstLineWithoutALineEndIsABadRequest) {
  EXPECT_EQ(stateAfter("--"), State::Error);
  EXPECT_EQ(stateAfter(kBoundary), State::Error);
  EXPECT_EQ(stateAfter(kBoundary + "--"), State::Error);
}

TEST(MultiPartParserTest, BoundaryLineHas127BytesAtMost) {
  EXPECT_EQ(getString(*parse(request({part("a", "1")}, "--" + std::string(125, 'b'))), "a"), ok("1"));
  EXPECT_EQ(stateAfter(request({part("a", "1")}, "--" + std::string(126, 'b'))), State::Error);
  EXPECT_EQ(stateAfter(request({part("a", "1")}, "--" + std::string(10000, 'b'))), State::Error);
}

TEST(MultiPartParserTest, MissingFileLeavesOneErrorLineAndInvalidProtocol) {
  const LogCapture log;
  MultiPartParser parser("/tmp/missing");
  EXPECT_EQ(stateOf(parser), State::Error);
  expectEveryGetterAnswersInvalidProtocol(parser, "a");
  EXPECT_EQ(log.lines(), std::vector<LogLine>{KelpTest::errorLine("FileOperator.cpp", 0, "open",
                                                                  "###ERROR### open() returns error(errno=2).\n")});
}

TEST(MultiPartParserTest, FileThatCannotBeMappedIsABadRequest) {
  const LogCapture log;
  writeFile(kRequest, request({part("a", "1")}));
  const CallFault fault(Call::Mmap, ENOMEM);
  MultiPartParser parser(kRequest);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_EQ(stateOf(parser), State::Error);
  expectEveryGetterAnswersInvalidProtocol(parser, "a");
  EXPECT_TRUE(log.lines().empty());
}

TEST(MultiPartParserTest, FileOf4GiBIsABadRequest) {
  const std::string body = request({part("a", "1")});
  writeFile(kRequest, body);
  for (const long long size : {1LL << 32, (1LL << 32) + static_cast<long long>(body.size())}) {
    ASSERT_EQ(truncate(kRequest, size), 0);
    EXPECT_EQ(stateOf(MultiPartParser(kRequest)), State::Error);
  }
}

TEST(MultiPartParserTest, LeavesTheRequestFileAsItIs) {
  const std::string body = request({part("a", "x\r\ny"), part("d", "TWFu")});
  auto parser = parse(body);
  getData(*parser, "d");
  parser.reset();
  EXPECT_EQ(readFile(kRequest), body);
}

TEST(MultiPartParserTest, GivesBackDescriptorAndMappingWhateverBecameOfTheFile) {
  const std::size_t before = KelpTest::openDescriptors();
  for (const std::string& body : {request({part("a", std::string(10000, 'x'))}), kBoundary + "\r\nx"}) {
    auto parser = parse(body);
    EXPECT_EQ(KelpTest::openDescriptors(), before + 1);
    EXPECT_TRUE(KelpTest::isMapped(kRequest));
    ASSERT_EQ(truncate(kRequest, 0), 0);
    parser.reset();
    EXPECT_FALSE(KelpTest::isMapped(kRequest));
    EXPECT_EQ(KelpTest::openDescriptors(), before);
  }
}

TEST(MultiPartParserTest, TakesOneOpenOneSizeOneMappingAndOneClose) {
  writeFile(kRequest, request({part("a", "1")}));
  const Call calls[] = {Call::Open, Call::Fstat, Call::Mmap, Call::Close};
  std::vector<int> before;
  for (const Call call : calls) {
    before.push_back(callCount(call));
  }
  std::make_unique<MultiPartParser>(kRequest).reset();
  for (std::size_t i = 0; i < before.size(); ++i) {
    EXPECT_EQ(callCount(calls[i]) - before[i], 1) << i;
  }
}

TEST(MultiPartParserDeathTest, ParsingTwiceEndsTheProcess) {
  const auto parser = parse(kBoundary + "\n");
  EXPECT_DEATH(parser->doParsing(),
               "MultiPartParser\\.cpp:[0-9]+: void Kelp::MultiPartParser::doParsing\\(\\): "
               "Assertion `PERSAR_INIT == m_state' failed");
}

// --- The grammar

TEST(MultiPartParserTest, LineBreaksInDataAreDropped) {
  const auto parser = parse(request({part("a", "\r\nx\r\ny\n\nz\rw\n\r"), part("b", "one two")}));
  EXPECT_EQ(getRaw(*parser, "a"), "xyzw");
  EXPECT_EQ(getRaw(*parser, "b"), "one two");
}

TEST(MultiPartParserTest, AllOtherBytesOfDataAreKept) {
  std::string data;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '\r' && byte != '\n') {
      data += static_cast<char>(byte);
    }
  }
  data += data;
  EXPECT_EQ(getRaw(*parse(request({part("a", data)})), "a"), data);
}

TEST(MultiPartParserTest, PartEndsAtTheBoundaryWhereverThatStands) {
  const auto parser = parse(request({part("a", "x" + kBoundary + "y\r\n" + part("b", "2"))}));
  EXPECT_EQ(getRaw(*parser, "a"), "x");
  EXPECT_EQ(getRaw(*parser, "b"), "2");
}

TEST(MultiPartParserTest, WhatFollowsTheLastBoundaryIsNotLookedAt) {
  const auto parser = parse(request({part("a", "1")}) + part("b", "2") + std::string(3, '\0'));
  EXPECT_EQ(getRaw(*parser, "a"), "1");
  EXPECT_EQ(getRaw(*parser, "b"), "missing");
}

TEST(MultiPartParserTest, FirstOfEqualNamesAnswers) {
  EXPECT_EQ(getString(*parse(request({part("a", "1"), part("a", "2")})), "a"), ok("1"));
}

TEST(MultiPartParserTest, LinesMayEndInAnyOfFourWays) {
  for (const std::string lineEnd : {"\r", "\n", "\r\n", "\n\r"}) {
    const std::string body = kBoundary + lineEnd + kDisposition + "\"a\"" + lineEnd + "X: y" + lineEnd + lineEnd + "1" +
                             lineEnd + kBoundary + "--" + lineEnd;
    EXPECT_EQ(getString(*parse(body), "a"), ok("1")) << testing::PrintToString(lineEnd);
  }
}

TEST(MultiPartParserTest, OtherHeadersAndParametersMeanNothing) {
  const std::string headers =
      "X: y\r\n" + kDisposition + "\"a\"; filename=\"b.pkg\"; name=\"c\"\r\nContent-Type: z\r\n\r\n";
  const auto parser = parse(request({headers + "1\r\n"}));
  EXPECT_EQ(getString(*parser, "a"), ok("1"));
  EXPECT_EQ(getRaw(*parser, "c"), "missing");
}

TEST(MultiPartParserTest, NameRunsToTheNextQuotationMarkWhateverOpensIt) {
  EXPECT_EQ(getString(*parse(request({kDisposition + "'a b\r\nc\"\r\n\r\n1\r\n"})), "a b\r\nc"), ok("1"));
  EXPECT_EQ(getString(*parse(request({part("", "1")})), ""), ok("1"));
}

TEST(MultiPartParserTest, TextOnTheLineOfTheNameIsNoEmptyLine) {
  EXPECT_EQ(getString(*parse(request({kDisposition + "\"a\"\r\nX: y\r\n\r\n1\r\n"})), "a"), ok("1"));
}

TEST(MultiPartParserTest, PartWithoutDispositionIsABadRequest) {
  EXPECT_EQ(stateAfter(request({"Content-Type: z\r\n\r\n1\r\n"})), State::Error);
  EXPECT_EQ(stateAfter(kBoundary + "\r\n" + kDisposition), State::Error);
  EXPECT_EQ(stateAfter(kBoundary + "\r\n" + kDisposition + '"'), State::Error);
}

TEST(MultiPartParserTest, NameThatIsNotClosedIsABadRequest) {
  EXPECT_EQ(stateAfter(request({kDisposition + "\"a\r\n\r\n1\r\n"})), State::Error);
}

TEST(MultiPartParserTest, MissingEmptyLineIsABadRequest) {
  const auto parser = parse(request({kDisposition + "\"a\"\r\n1\r\n"}));
  EXPECT_EQ(stateOf(*parser), State::Error);
  expectEveryGetterAnswersInvalidProtocol(*parser, "a");
}

TEST(MultiPartParserTest, MissingBoundaryBehindDataIsABadRequest) {
  EXPECT_EQ(stateAfter(kBoundary + "\r\n" + part("a", "1")), State::Error);
  EXPECT_EQ(stateAfter(kBoundary + "\r\n" + part("a", "1") + kBoundary.substr(0, 4)), State::Error);
}

TEST(MultiPartParserTest, LastBoundaryWithoutItsHyphenIsABadRequest) {
  EXPECT_EQ(stateAfter(kBoundary + "\r\n" + part("a", "1") + kBoundary), State::Error);
  EXPECT_EQ(stateAfter(kBoundary + "\r\n" + part("a", "1") + kBoundary + "\r\n"), State::Error);
  EXPECT_EQ(stateAfter(kBoundary + "\r\n" + part("a", "1") + kBoundary + "-"), State::Done);
}

TEST(MultiPartParserTest, MembersBeforeAnErrorAreNotAnswered) {
  const auto parser = parse(kBoundary + "\r\n" + part("a", "1") + kBoundary + "\r\n" + part("b", "2"));
  EXPECT_EQ(stateOf(*parser), State::Error);
  expectEveryGetterAnswersInvalidProtocol(*parser, "a");
}

TEST(MultiPartParserTest, TextEndsAtANulByte) {
  const std::string nul(1, '\0');
  EXPECT_EQ(stateAfter(request({part("a", "1" + nul + "2")})), State::Error);
  EXPECT_EQ(stateAfter(request({nul + part("a", "1")})), State::Error);
  EXPECT_EQ(stateAfter(request({part("a" + nul + "b", "1")})), State::Error);
}

TEST(MultiPartParserTest, NulBytesInSkippedLinesArePassed) {
  const std::string nul(1, '\0');
  const auto parser = parse(request({kDisposition + "\"a\"" + nul + "\r\n" + nul + "\r\n\r\n1\r\n"}));
  EXPECT_EQ(getString(*parser, "a"), ok("1"));
}

TEST(MultiPartParserTest, BoundaryEndsAtANulByteInItsLine) {
  const std::string line = kBoundary + std::string(1, '\0') + "tail";
  EXPECT_EQ(getString(*parse(line + "\r\n" + part("a", "1") + kBoundary + "--"), "a"), ok("1"));
}

TEST(MultiPartParserTest, NulByteMakesABoundaryLineNoShorter) {
  const std::string rest = "\r\n" + part("a", "1") + kBoundary + "--";
  const std::string start = kBoundary + std::string(1, '\0');
  EXPECT_EQ(getString(*parse(start + std::string(127 - start.size(), 't') + rest), "a"), ok("1"));
  EXPECT_EQ(stateAfter(start + std::string(128 - start.size(), 't') + rest), State::Error);
}

TEST(MultiPartParserTest, QuotationMarkMayBeANulByte) {
  EXPECT_EQ(getString(*parse(request({kDisposition + std::string(1, '\0') + "a\"\r\n\r\n1\r\n"})), "a"), ok("1"));
}

// --- The byte that is tested before the first part

// A request whose first part, and no later one, has a '-' as far behind its start as the boundary line is long.
std::string requestWithHyphen(std::size_t boundarySize) {
  const std::string boundary = "--" + std::string(boundarySize - 2, 'b');
  std::string first = "X-Padding: " + std::string(200, '.') + "\r\n" + part("a", "1");
  first[boundarySize] = '-';
  return request({first, part("methodName", "x")}, boundary);
}

TEST(MultiPartParserTest, HyphenAsFarBehindAsTheBoundaryIsLongEndsTheRequestAtEveryLength) {
  for (std::size_t size = 12; size <= 127; ++size) {
    const std::string body = requestWithHyphen(size);
    const auto parser = parse(body);
    EXPECT_EQ(stateOf(*parser), State::Done) << size;
    expectEveryGetterAnswersInvalidProtocol(*parser, "methodName");
    std::string without = body;
    without[size + 2 + size] = '_';
    EXPECT_EQ(getString(*parse(without), "methodName"), ok("x")) << size;
  }
}

TEST(MultiPartParserTest, BoundaryLinesOf7And25BytesHaveNoMembersBehindADisposition) {
  for (std::size_t size = 2; size < 38; ++size) {
    const std::string body = request({part("a", "1")}, "--" + std::string(size - 2, 'b'));
    const bool isHit = size == 7 || size == 25;
    EXPECT_EQ(getRaw(*parse(body), "a"), isHit ? "missing" : "1") << size;
    EXPECT_EQ(stateAfter(body), State::Done) << size;
  }
}

// The table in the class's header.
TEST(MultiPartParserTest, ClientsBoundariesHitTheCharactersThatTheHeaderNames) {
  struct Client {
    std::size_t boundarySize;
    std::size_t hitCharacter;  // of the name, from 1
  };
  for (const Client client : {Client{40, 3}, {42, 5}, {48, 11}, {53, 16}, {59, 22}}) {
    std::string name(30, 'n');
    const std::string boundary = "--" + std::string(client.boundarySize - 2, 'b');
    EXPECT_EQ(getRaw(*parse(request({part(name, "1")}, boundary)), name), "1");
    name[client.hitCharacter - 1] = '-';
    EXPECT_EQ(getRaw(*parse(request({part(name, "1")}, boundary)), name), "missing") << client.boundarySize;
  }
}

TEST(MultiPartParserTest, BoundaryOfFirefoxHitsTheFirstBytesOfAMethodNamesData) {
  for (std::size_t size = 53; size <= 59; ++size) {
    std::string data = "updateApplication";
    data[size - 53] = '-';
    const std::string boundary = "--" + std::string(size - 2, 'b');
    EXPECT_EQ(getRaw(*parse(request({part("methodName", data)}, boundary)), "methodName"), "missing") << size;
  }
}

// --- Bodies of real clients

class ClientBodyTest : public testing::TestWithParam<const char*> {};

std::string clientFile(const std::string& name) {
  return readFile(std::string(KELP_RPC_TEST_DATA "/") + name);
}

TEST_P(ClientBodyTest, IsParsedAndItsPackageDecoded) {
  const auto parser = parse(clientFile(GetParam()));
  ASSERT_EQ(stateOf(*parser), State::Done);
  EXPECT_EQ(getString(*parser, "methodName"), ok("updateApplication"));
  int installId = 0;
  EXPECT_EQ(parser->getHexadecimal("installId", installId), CommonReturnCode_Ok);
  EXPECT_EQ(installId, 0x1A);
  EXPECT_EQ(getFile(*parser, "applicationPackage"), ok(clientFile("package.bin")));
}

INSTANTIATE_TEST_SUITE_P(MultiPartParserTest, ClientBodyTest,
                         testing::Values("curl.multipart", "chromium.multipart", "firefox.multipart",
                                         "firefox-gecko.multipart"));

TEST(MultiPartParserTest, HyphenAsFifthCharacterOfCurlsFirstNameEndsTheRequest) {
  const auto parser = parse(clientFile("curl-hyphen.multipart"));
  EXPECT_EQ(stateOf(*parser), State::Done);
  EXPECT_EQ(getRaw(*parser, "exec-id"), "missing");
  EXPECT_EQ(getRaw(*parser, "methodName"), "missing");
}

// --- skipCRLF

TEST(MultiPartParserTest, SkipCrlfCutsTheLineAndGivesTheNext) {
  const auto parser = parse(kBoundary + "\n");
  struct Line {
    std::string text;
    std::ptrdiff_t next;
    std::string cut;
  };
  const std::string nul(1, '\0');
  const Line lines[] = {
      {"ab\rc", 3, "ab" + nul + "c"},
      {"ab\nc", 3, "ab" + nul + "c"},
      {"ab\r\nc", 4, "ab" + nul + nul + "c"},
      {"ab\n\rc", 4, "ab" + nul + nul + "c"},
      {"ab\r\rc", 3, "ab" + nul + "\rc"},
      {"ab\n\nc", 3, "ab" + nul + "\nc"},
      {"\r\nc", 2, nul + nul + "c"},
      {"\n\r\nc", 2, nul + nul + "\nc"},
      {"a" + nul + "\nc", 3, "a" + nul + nul + "c"},
  };
  for (const Line& line : lines) {
    std::string text = line.text;
    char* const next = parser->skipCRLF(text.data(), text.data() + text.size());
    EXPECT_EQ(next - text.data(), line.next) << testing::PrintToString(line.text);
    EXPECT_EQ(text, line.cut);
  }
}

TEST(MultiPartParserTest, SkipCrlfGivesNullWithoutALineEnd) {
  const auto parser = parse(kBoundary + "\n");
  std::string text = "abc\n";
  EXPECT_EQ(parser->skipCRLF(text.data(), text.data()), nullptr);
  EXPECT_EQ(parser->skipCRLF(text.data(), text.data() + 3), nullptr);
  EXPECT_EQ(text, "abc\n");
}

TEST(MultiPartParserTest, SkipCrlfTouchesNothingBehindTheEnd) {
  const auto parser = parse(kBoundary + "\n");
  std::string text = "abc\r\n";
  EXPECT_EQ(parser->skipCRLF(text.data(), text.data() + 4), text.data() + 4);
  EXPECT_EQ(text, std::string("abc\0\n", 5));
}

// --- Getters

TEST(MultiPartParserTest, MissingMemberHasSizeMinusOne) {
  const auto parser = parse(request({part("a", "1")}));
  long offset = 77;
  EXPECT_EQ(parser->getMemberInfo("b", offset), kNoMember);
  char text = 'x';
  char* value = &text;
  EXPECT_EQ(parser->getMember("b", value), kNoMember);
  EXPECT_EQ(value, nullptr);
  expectEveryGetterAnswersInvalidProtocol(*parser, "b");
}

TEST(MultiPartParserTest, MemberIsNullWhenMemoryIsOut) {
  const auto parser = parse(request({part("a", "1")}));
  char text = 'x';
  char* value = &text;
  const CallFault fault(Call::Malloc, ENOMEM);
  EXPECT_EQ(parser->getMember("a", value), 0U);
  EXPECT_EQ(value, nullptr);
}

TEST(MultiPartParserTest, WithoutMemoryEveryValueIsInvalid) {
  const auto parser = parse(request({part("a", "1")}));
  int number = kUntouched;
  {
    const CallFault fault(Call::Malloc, ENOMEM);
    EXPECT_EQ(parser->getDecimal("a", number), CommonReturnCode_InvalidProtocol);
  }
  {
    const CallFault fault(Call::Malloc, ENOMEM);
    EXPECT_EQ(parser->getHexadecimal("a", number), CommonReturnCode_InvalidProtocol);
  }
  EXPECT_EQ(number, kUntouched);
  const CallFault fault(Call::Malloc, ENOMEM);
  EXPECT_EQ(getString(*parser, "a"), invalid());
}

TEST(MultiPartParserTest, NumbersAreReadAsFarAsTheyAreNumbers) {
  const auto parser = parse(request({part("d", "26x"), part("h", "0000001A"), part("none", "xyz")}));
  int value = kUntouched;
  EXPECT_EQ(parser->getDecimal("d", value), CommonReturnCode_Ok);
  EXPECT_EQ(value, 26);
  EXPECT_EQ(parser->getHexadecimal("h", value), CommonReturnCode_Ok);
  EXPECT_EQ(value, 26);
  EXPECT_EQ(parser->getDecimal("none", value), CommonReturnCode_Ok);
  EXPECT_EQ(value, 0);
  value = kUntouched;
  EXPECT_EQ(parser->getHexadecimal("none", value), CommonReturnCode_Ok);
  EXPECT_EQ(value, kUntouched);
}

TEST(MultiPartParserTest, EmptyMemberIsAnEmptyStringAndNoNumber) {
  const auto parser = parse(request({part("a", "")}));
  EXPECT_EQ(getString(*parser, "a"), ok(""));
  int value = kUntouched;
  EXPECT_EQ(parser->getDecimal("a", value), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(parser->getHexadecimal("a", value), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(value, kUntouched);
}

TEST(MultiPartParserTest, EmptyDataInMemoryIsABlockOfNothing) {
  const auto parser = parse(request({part("a", "")}));
  void* data = nullptr;
  unsigned int size = 77;
  EXPECT_EQ(parser->getBinaryData("a", data, size), CommonReturnCode_Ok);
  EXPECT_EQ(size, 0U);
  EXPECT_NE(data, nullptr);
  Kelp::SysFunc::kelpFree(data);
}

TEST(MultiPartParserTest, DataIsDecodedToMemory) {
  EXPECT_EQ(getData(*parse(request({part("a", "TWFu\r\nTWE=")})), "a"), ok("ManMa"));
  EXPECT_EQ(getData(*parse(request({part("a", "TW?u")})), "a"), invalid());
}

TEST(MultiPartParserTest, DataIsNotHandedOutWhenMemoryIsOut) {
  const auto parser = parse(request({part("a", "TWFu")}));
  const CallFault fault(Call::Malloc, ENOMEM);
  EXPECT_EQ(getData(*parser, "a"), failed(CommonReturnCode_NotEnoughMemory));
}

TEST(MultiPartParserTest, DataIsDecodedToAFile) {
  EXPECT_EQ(getFile(*parse(request({part("a", "TWFuTQ==")})), "a"), ok("ManM"));
  EXPECT_EQ(getFile(*parse(request({part("a", "TW?u")})), "a"), invalid());
  EXPECT_NE(access(kOutput, F_OK), 0);
}

TEST(MultiPartParserTest, EmptyDataCreatesTheFileThroughTheShell) {
  EXPECT_EQ(getFile(*parse(request({part("a", "")})), "a"), ok(""));
  EXPECT_EQ(KelpTest::lastSystemCommand(), std::string("/bin/busybox touch ") + kOutput);
}

TEST(MultiPartParserTest, FileThatCannotBeWrittenIsAnIoError) {
  const std::string body = request({part("a", "TWFu"), part("empty", "")});
  EXPECT_EQ(parse(body)->getBinaryData("a", std::string("/tmp/missing/output")), CommonReturnCode_IoError);
  EXPECT_EQ(parse(body)->getBinaryData("empty", std::string("/tmp/missing/output")), CommonReturnCode_IoError);
  EXPECT_EQ(parse(body)->getBinaryData("a", std::string("/dev/full")), CommonReturnCode_IoError);
  const auto parser = parse(body);
  const CallFault fault(Call::Fwrite, ENOSPC);
  EXPECT_EQ(getFile(*parser, "a"), failed(CommonReturnCode_IoError));
  EXPECT_EQ(fault.hits(), 1);
}

// --- A second opinion

// What getBinaryData() is to give of a member that it decodes.
Text decoded(MultiPartReference& reference, const RequestMember& member) {
  const KelpTest::Decoding decoding = reference.decode(member);
  return decoding.result == CommonReturnCode_Ok ? ok(decoding.data) : invalid();
}

void expectEqual(MultiPartParser& parser, const std::string& body) {
  MultiPartReference expected(body);
  ASSERT_EQ(stateOf(parser), expected.state()) << testing::PrintToString(body);
  for (const RequestMember& member : expected.members()) {
    const RequestMember& first = firstNamed(expected.members(), member.name);
    long offset = -1;
    ASSERT_EQ(parser.getMemberInfo(member.name, offset), first.value.size()) << testing::PrintToString(body);
    ASSERT_EQ(offset, static_cast<long>(first.offset)) << testing::PrintToString(body);
    ASSERT_EQ(getRaw(parser, member.name), first.value) << testing::PrintToString(body);
  }
  for (const RequestMember& member : expected.members()) {
    if (expected.state() == State::Done && &member == &firstNamed(expected.members(), member.name)) {
      // The text's last group may take bytes from behind the member: these have to be the same too.
      ASSERT_EQ(getData(parser, member.name), member.value.empty() ? ok("") : decoded(expected, member))
          << testing::PrintToString(body);
    }
  }
}

void expectParsesAsStepByStep(const std::string& body) {
  expectEqual(*parse(body), body);
}

TEST(MultiPartParserTest, WellFormedRequestsParseAsStepByStepAndAsTheyWereWritten) {
  RandomSource random(1);
  int complete = 0;
  for (int i = 0; i < 10000; ++i) {
    const WellFormedForm form = wellFormedForm(random);
    expectParsesAsStepByStep(form.body);
    ASSERT_FALSE(HasFatalFailure());
    const auto parser = parse(form.body);
    if (form.members.empty() || getRaw(*parser, form.members.front().name) == "missing") {
      continue;  // the byte before the first part
    }
    ++complete;
    for (const RequestMember& member : form.members) {
      ASSERT_EQ(getRaw(*parser, member.name), member.value) << testing::PrintToString(form.body);
    }
  }
  EXPECT_GT(complete, 7000);
}

TEST(MultiPartParserTest, HostileRequestsParseAsStepByStep) {
  RandomSource random(2);
  int bad = 0;
  int withMembers = 0;
  for (int i = 0; i < 10000; ++i) {
    std::string boundary = randomBoundary(random);
    boundary.resize(random.oneIn(5) ? 2 + random.below(5) : boundary.size());
    const std::string body = i % 2 == 0 ? scrambledForm(random, boundary) : damagedForm(random);
    expectParsesAsStepByStep(body);
    ASSERT_FALSE(HasFatalFailure());
    const MultiPartReference steps(body);
    bad += steps.state() == State::Error ? 1 : 0;
    withMembers += steps.state() == State::Done && !steps.members().empty() ? 1 : 0;
  }
  EXPECT_GT(bad, 2000);
  EXPECT_GT(withMembers, 2000);
}

// The data is looked at in blocks; a boundary, a NUL byte and a line end may stand where two of them meet.
TEST(MultiPartParserTest, LargePartsParseAsStepByStep) {
  RandomSource random(3);
  const std::string boundary = "----WebKitFormBoundary7MA4YWxkTrZu0gWq";
  for (const std::size_t size : {16384UL, 32768UL, 65536UL}) {
    for (std::size_t before = 0; before < 48; ++before) {
      std::string data = random.text(std::string(kBase64Digits) + "--", size - before);
      expectParsesAsStepByStep(request({part("a", data), part("b", "TW")}, boundary));
      data[data.size() - before % 7 - 1] = before % 2 == 0 ? '\n' : '\0';
      expectParsesAsStepByStep(request({part("a", data), part("b", "TW")}, boundary));
      ASSERT_FALSE(HasFatalFailure());
    }
  }
}

TEST(MultiPartParserTest, WrappedPartsAndMuchTextWithHyphensParseAsStepByStep) {
  RandomSource random(4);
  for (const std::size_t lineSize : {1UL, 7UL, 8UL, 60UL, 76UL, 1000UL}) {
    for (const std::string lineEnd : {"\r\n", "\n", "\r", "\n\r", "\r\r\n\n"}) {
      std::string data;
      while (data.size() < 100000) {
        data += random.text(kBase64Digits, lineSize) + lineEnd;
      }
      expectParsesAsStepByStep(request({part("a", data), part("b", data)}));
    }
  }
  expectParsesAsStepByStep(request({part("a", std::string(100000, '-'))}, std::string(126, '-') + 'x'));
}

TEST(MultiPartParserTest, ManyPartsParseAsStepByStep) {
  std::vector<std::string> parts;
  for (int i = 0; i < 2000; ++i) {
    parts.push_back(part("m" + std::to_string(i), std::string(static_cast<std::size_t>(i % 100), 'v')));
  }
  expectParsesAsStepByStep(request(parts));
}

// --- Bodies that fill their pages, without a NUL byte. What is read behind them ends the test.

TEST(MultiPartParserTest, WholeRequestMayEndWithThePage) {
  for (const std::size_t pages : {1UL, 2UL, 16UL, 17UL}) {
    const std::string empty = request({part("a", ""), part("b", "TWFu")});
    const std::string body = request({part("a", std::string(pages * kPage - empty.size() + 2, 'A')), part("b", "TWFu")})
                                 .substr(0, pages * kPage);
    ASSERT_EQ(body.size(), pages * kPage);
    const GuardedRequest guarded(body);
    EXPECT_EQ(stateOf(guarded.parser()), State::Done);
    EXPECT_EQ(getString(guarded.parser(), "b"), ok("TWFu"));
  }
}

TEST(MultiPartParserTest, RequestMayBreakOffAtThePagesEndAnywhere) {
  const std::string tail = kBoundary + "\r\n" + part("b", "TW") + kBoundary + "--\r\n";
  const std::string head = kBoundary + "\r\n" + kDisposition + "\"a\"\r\n\r\n";
  for (std::size_t size = 0; size <= tail.size(); ++size) {
    const std::string body = head + std::string(kPage - head.size() - size, 'A') + tail.substr(0, size);
    const GuardedRequest guarded(body);
    expectEqual(guarded.parser(), body);
    ASSERT_FALSE(HasFatalFailure());
  }
}

TEST(MultiPartParserTest, HeadersMayBreakOffAtThePagesEndAnywhere) {
  for (std::size_t size = 0; size < 100; ++size) {
    const std::string part1 = "Content-Type: x\r\n" + part("name", "TW") + kBoundary + "--";
    const std::string piece = part1.substr(0, size);
    const std::string body = kBoundary + "\r\n" + std::string(kPage - kBoundary.size() - 2 - piece.size(), 'h') + piece;
    const GuardedRequest guarded(body);
    expectEqual(guarded.parser(), body);
    ASSERT_FALSE(HasFatalFailure());
  }
}

TEST(MultiPartParserTest, PagesWithoutAnyStructureAreBadRequests) {
  for (const std::size_t pages : {1UL, 2UL, 16UL, 17UL}) {
    for (const std::string& start : {std::string("x"), std::string("--x"), kBoundary + "\n", kBoundary + "\n\"\n\n",
                                     kBoundary + "\n" + kDisposition, kBoundary + "\n" + part("a", "")}) {
      for (const char filler : {'A', '-', '"'}) {
        const std::string body = start + std::string(pages * kPage - start.size(), filler);
        const GuardedRequest guarded(body);
        expectEqual(guarded.parser(), body);
      }
    }
  }
}

}  // namespace
