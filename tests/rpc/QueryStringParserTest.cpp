#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "QueryStringParser.h"
#include "SysFunc.h"
#include "support/AllocationCount.h"
#include "support/CallFaults.h"
#include "support/FileStatus.h"
#include "support/FullDisk.h"
#include "support/LogCapture.h"
#include "support/QueryStringReference.h"
#include "support/RandomSource.h"
#include "support/RequestGenerators.h"
#include "tests/rpc/ParserTests.h"

namespace {

using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_NotEnoughMemory;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;
using Kelp::QueryStringParser;
using Kelp::SysFunc;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::expectEveryGetterAnswersInvalidProtocol;
using KelpTest::getData;
using KelpTest::getRaw;
using KelpTest::getString;
using KelpTest::hostileQueryString;
using KelpTest::invalid;
using KelpTest::isMapped;
using KelpTest::kNoMember;
using KelpTest::kOutput;
using KelpTest::kRequest;
using KelpTest::kUntouched;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::ok;
using KelpTest::openDescriptors;
using KelpTest::QueryStringReference;
using KelpTest::RandomSource;
using KelpTest::randomUrlEncoded;
using KelpTest::readFile;
using KelpTest::RequestMember;
using KelpTest::Text;
using KelpTest::wellFormedQueryString;
using KelpTest::writeFile;

static_assert(!std::is_copy_constructible_v<QueryStringParser> && !std::is_copy_assignable_v<QueryStringParser>,
              "a copy would unmap the same memory");

using GuardedRequest = KelpTest::GuardedRequest<QueryStringParser>;

const std::size_t kPage = KelpTest::pageSize();

std::unique_ptr<QueryStringParser> parse(const std::string& body) {
  return KelpTest::parseRequest<QueryStringParser>(body);
}

int getDecimal(const std::string& text) {
  const auto parser = parse("n=" + text);
  int value = kUntouched;
  EXPECT_EQ(parser->getDecimal("n", value), CommonReturnCode_Ok) << text;
  return value;
}

int getHexadecimal(const std::string& text) {
  const auto parser = parse("n=" + text);
  int value = kUntouched;
  EXPECT_EQ(parser->getHexadecimal("n", value), CommonReturnCode_Ok) << text;
  return value;
}

// --- Requests

TEST(QueryStringParserTest, RegistersUnderItsObjectType) {
  const auto parser = parse("");
  const LogCapture log;
  ASSERT_TRUE(Kelp::KelpObject::isObjectExist(parser.get()));
  EXPECT_NE(log.traces().at(0).message.find("(ObjectType=31)"), std::string::npos);
}

TEST(QueryStringParserTest, PacksValuesInOrderOfAppearance) {
  const auto parser = parse("methodName=startApplication&execId=%31\n");
  long offset = -1;
  EXPECT_EQ(parser->getMemberInfo("methodName", offset), 16U);
  EXPECT_EQ(offset, 0);
  EXPECT_EQ(parser->getMemberInfo("execId", offset), 1U);
  EXPECT_EQ(offset, 16);
  EXPECT_EQ(getString(*parser, "methodName"), ok("startApplication"));
  EXPECT_EQ(getString(*parser, "execId"), ok("1"));
}

TEST(QueryStringParserTest, EmptyFileIsARequestWithoutMembers) {
  const LogCapture log;
  const auto parser = parse("");
  expectEveryGetterAnswersInvalidProtocol(*parser, "a");
  expectEveryGetterAnswersInvalidProtocol(*parser, "");
  EXPECT_TRUE(log.lines().empty());
}

TEST(QueryStringParserTest, MissingFileLeavesOneErrorLineAndInvalidProtocol) {
  const LogCapture log;
  QueryStringParser parser("/tmp/missing");
  expectEveryGetterAnswersInvalidProtocol(parser, "a");
  EXPECT_EQ(log.lines(), std::vector<LogLine>{KelpTest::errorLine("FileOperator.cpp", 0, "open",
                                                                  "###ERROR### open() returns error(errno=2).\n")});
}

TEST(QueryStringParserTest, DirectoryIsAnInvalidRequest) {
  struct stat status;
  ASSERT_EQ(stat("/tmp", &status), 0);
  ASSERT_NE(status.st_size, 0);
  const LogCapture log;
  QueryStringParser parser("/tmp");
  expectEveryGetterAnswersInvalidProtocol(parser, "a");
  EXPECT_TRUE(log.lines().empty());
}

TEST(QueryStringParserTest, FileThatCannotBeMappedIsAnInvalidRequest) {
  const LogCapture log;
  writeFile(kRequest, "a=1");
  const CallFault fault(Call::Mmap, ENOMEM);
  QueryStringParser parser(kRequest);
  EXPECT_EQ(fault.hits(), 1);
  expectEveryGetterAnswersInvalidProtocol(parser, "a");
  EXPECT_TRUE(log.lines().empty());
}

TEST(QueryStringParserTest, FileOf4GiBIsAnInvalidRequest) {
  writeFile(kRequest, "a=1");
  for (const long long size : {1LL << 32, (1LL << 32) + 3}) {
    ASSERT_EQ(truncate(kRequest, size), 0);
    QueryStringParser parser(kRequest);
    expectEveryGetterAnswersInvalidProtocol(parser, "a");
  }
}

TEST(QueryStringParserTest, LeavesTheRequestFileAsItIs) {
  const std::string body = "a=%41%42&b=+++&c=TWFu";
  auto parser = parse(body);
  getData(*parser, "c");
  parser.reset();
  EXPECT_EQ(readFile(kRequest), body);
}

TEST(QueryStringParserTest, TakesOneOpenOneSizeOneMappingAndOneClose) {
  writeFile(kRequest, "a=1&b=2");
  const Call calls[] = {Call::Open, Call::Fstat, Call::Mmap, Call::Close};
  std::vector<int> before;
  for (const Call call : calls) {
    before.push_back(callCount(call));
  }
  std::make_unique<QueryStringParser>(kRequest).reset();
  for (std::size_t i = 0; i < before.size(); ++i) {
    EXPECT_EQ(callCount(calls[i]) - before[i], 1) << i;
  }
}

TEST(QueryStringParserTest, GivesBackDescriptorAndMappingWhateverBecameOfTheFile) {
  const std::size_t before = openDescriptors();
  for (const off_t size : {0, 10, 100000}) {
    auto parser = parse(std::string(10000, 'a'));
    EXPECT_EQ(openDescriptors(), before + 1);
    EXPECT_TRUE(isMapped(kRequest));
    ASSERT_EQ(truncate(kRequest, size), 0);
    parser.reset();
    EXPECT_FALSE(isMapped(kRequest));
    EXPECT_EQ(openDescriptors(), before);
  }
}

// The pages that it loses are gone from the mapping too, those that were decoded into among them.
TEST(QueryStringParserDeathTest, FileThatIsShortenedEndsTheProcess) {
  const auto parser = parse("a=1");
  EXPECT_EQ(getString(*parser, "a"), ok("1"));
  ASSERT_EQ(truncate(kRequest, 0), 0);
  EXPECT_DEATH(getString(*parser, "a"), "");
}

TEST(QueryStringParserDeathTest, ParsingTwiceEndsTheProcess) {
  const auto parser = parse("a=1");
  EXPECT_DEATH(parser->doParsing(),
               "QueryStringParser\\.cpp:[0-9]+: void Kelp::QueryStringParser::doParsing\\(\\): "
               "Assertion `PERSAR_INIT == m_state' failed");
}

std::string repeated(const std::string& piece, std::size_t size) {
  std::string text;
  while (text.size() < size) {
    text += piece;
  }
  return text;
}

// What parsing asks for all together, what it gives back in between included: in places of the table for each byte of
// the request.
double placesByByte(const std::string& body) {
  writeFile(kRequest, body);
  const std::size_t before = KelpTest::allocations().bytes;
  const QueryStringParser parser(kRequest);
  const std::size_t asked = KelpTest::allocations().bytes - before;
  return static_cast<double>(asked) / sizeof(QueryStringParser::MemberTable_t) / static_cast<double>(body.size());
}

// The shortest members have two bytes. A table that is full is moved into one of twice the size at least.
TEST(QueryStringParserTest, ARequestTakesAtMostTwoPlacesOfTheTableForEachByte) {
  constexpr std::size_t kSize = 1 << 18;
  EXPECT_GE(placesByByte(repeated("=&", kSize)), 0.5);
  for (const char* const start : {"=&", "name=value&"}) {
    for (const std::size_t startSize : {std::size_t{40}, std::size_t{1000}, kSize / 2}) {
      for (const char* const rest : {"=&", "x", "=x"}) {
        const std::string body = repeated(start, startSize) + repeated(rest, kSize - startSize);
        EXPECT_LE(placesByByte(body), 2) << start << startSize << rest;
      }
    }
  }
}

// --- The grammar

TEST(QueryStringParserTest, NameThatTheInputEndsKeepsItsLastByteAndHasAnEmptyValue) {
  const auto parser = parse("a");
  int value = kUntouched;
  EXPECT_EQ(getString(*parser, "a"), ok(""));
  EXPECT_EQ(parser->getDecimal("a", value), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(parser->getHexadecimal("a", value), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(value, kUntouched);
  EXPECT_EQ(getString(*parse("x=1&abc"), "abc"), ok(""));
  EXPECT_EQ(getString(*parse("x=1&ab%63"), "abc"), ok(""));
}

TEST(QueryStringParserTest, FirstOfEqualNamesAnswers) {
  EXPECT_EQ(getString(*parse("a=1&a=2"), "a"), ok("1"));
  EXPECT_EQ(getString(*parse("aa=0&a=&a=2"), "a"), ok(""));
}

TEST(QueryStringParserTest, NameRunsToTheNextDecodedEqualsSign) {
  const auto parser = parse("x=1&&y=2&z\r\n=3");
  EXPECT_EQ(getString(*parser, "x"), ok("1"));
  EXPECT_EQ(getString(*parser, "&y"), ok("2"));
  EXPECT_EQ(getString(*parser, "y"), invalid());
  EXPECT_EQ(getString(*parser, "z\r\n"), ok("3"));
}

TEST(QueryStringParserTest, EscapedEqualsSignEndsANameAndIsDataInAValue) {
  EXPECT_EQ(getString(*parse("n%3Dx=5"), "n"), ok("x=5"));
  EXPECT_EQ(getString(*parse("n=%3D=x"), "n"), ok("==x"));
}

TEST(QueryStringParserTest, NamesAreDecoded) {
  EXPECT_EQ(getString(*parse("a+%62%26longer+than+a+word=1"), "a b&longer than a word"), ok("1"));
}

TEST(QueryStringParserTest, EmptyNameIsAName) {
  EXPECT_EQ(getString(*parse("=5&a=6"), ""), ok("5"));
}

TEST(QueryStringParserTest, PlusIsABlankAndEscapesAreDecodedInValues) {
  EXPECT_EQ(getString(*parse("s=a+b%2Bc"), "s"), ok("a b+c"));
}

TEST(QueryStringParserTest, OnlyUnescapedSeparatorsAndLineEndsCountInAValue) {
  const auto parser = parse("a=1%262%0A%0D3\r\n4&b=5\n\n&c=6");
  EXPECT_EQ(getString(*parser, "a"), ok("1&2\n\r34"));
  EXPECT_EQ(getString(*parser, "b"), ok("5"));
  EXPECT_EQ(getString(*parser, "c"), ok("6"));
}

TEST(QueryStringParserTest, EscapeTakesItsTwoCharactersWhateverTheyAre) {
  const auto parser = parse("a=1%&b=2&c=%\r\n3");
  EXPECT_EQ(getRaw(*parser, "a"), std::string("1\0=2", 4));
  EXPECT_EQ(getRaw(*parser, "c"), std::string("\0003", 2));
}

TEST(QueryStringParserTest, InputEndsAnEscape) {
  EXPECT_EQ(getRaw(*parse("a=1%4"), "a"), "1\x04");
  EXPECT_EQ(getRaw(*parse("a=1%"), "a"), std::string("1\0", 2));
  EXPECT_EQ(getRaw(*parse("%4"), "\x04"), "");
  EXPECT_EQ(getRaw(*parse("%"), std::string(1, '\0')), "");
}

TEST(QueryStringParserTest, OtherBytesStandForThemselves) {
  std::string value;
  for (int byte = 0; byte < 256; ++byte) {
    if (std::string("%+&\r\n").find(static_cast<char>(byte)) == std::string::npos) {
      value += static_cast<char>(byte);
    }
  }
  EXPECT_EQ(getRaw(*parse("a=" + value), "a"), value);
}

// --- charDecoding

char scanned(const char* pair) {
  unsigned int value = 0;
  sscanf(pair, "%02X", &value);
  return static_cast<char>(value);
}

TEST(QueryStringParserTest, EscapesScanAsSscanfDoes) {
  const auto parser = parse("");
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      char text[] = {'%', static_cast<char>(first), static_cast<char>(second), '\0'};
      char* cursor = text;
      unsigned int remaining = 3;
      ASSERT_EQ(parser->charDecoding(cursor, remaining), scanned(text + 1)) << first << ' ' << second;
      ASSERT_EQ(cursor, text + 3);
      ASSERT_EQ(remaining, 0U);
    }
  }
}

TEST(QueryStringParserTest, CharDecodingPassesOneCharacter) {
  const auto parser = parse("");
  for (int byte = 0; byte < 256; ++byte) {
    char text[] = {static_cast<char>(byte), '4', '1', 'x'};
    char* cursor = text;
    unsigned int remaining = 4;
    const char expected = byte == '+' ? ' ' : byte == '%' ? 'A' : text[0];
    EXPECT_EQ(parser->charDecoding(cursor, remaining), expected);
    EXPECT_EQ(cursor - text, byte == '%' ? 3 : 1);
    EXPECT_EQ(remaining, byte == '%' ? 1U : 3U);
  }
}

TEST(QueryStringParserTest, CharDecodingWithNothingLeftGives0AndStays) {
  const auto parser = parse("");
  char text[] = "x";
  char* cursor = text;
  unsigned int remaining = 0;
  EXPECT_EQ(parser->charDecoding(cursor, remaining), '\0');
  EXPECT_EQ(cursor, text);
  EXPECT_EQ(remaining, 0U);
}

TEST(QueryStringParserTest, CharDecodingStopsAtTheEndInsideAnEscape) {
  const auto parser = parse("");
  char text[] = "%41";
  for (const unsigned int size : {1U, 2U}) {
    char* cursor = text;
    unsigned int remaining = size;
    EXPECT_EQ(parser->charDecoding(cursor, remaining), size == 1 ? '\0' : '\x04');
    EXPECT_EQ(cursor, text + size);
    EXPECT_EQ(remaining, 0U);
  }
}

// --- Members

TEST(QueryStringParserTest, MissingMemberHasSizeMinusOne) {
  const auto parser = parse("a=1");
  long offset = 77;
  EXPECT_EQ(parser->getMemberInfo("b", offset), kNoMember);
  char text = 'x';
  char* value = &text;
  EXPECT_EQ(parser->getMember("b", value), kNoMember);
  EXPECT_EQ(value, nullptr);
}

TEST(QueryStringParserTest, MemberIsNullWhenMemoryIsOut) {
  const auto parser = parse("a=1");
  char text = 'x';
  char* value = &text;
  const CallFault fault(Call::Malloc, ENOMEM);
  EXPECT_EQ(parser->getMember("a", value), 0U);
  EXPECT_EQ(value, nullptr);
}

TEST(QueryStringParserTest, WithoutMemoryEveryValueIsInvalid) {
  const auto parser = parse("a=1");
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

TEST(QueryStringParserTest, StringEndsAtItsFirstNul) {
  const auto parser = parse("s=a%00b");
  EXPECT_EQ(getString(*parser, "s"), ok("a"));
  EXPECT_EQ(getRaw(*parser, "s"), std::string("a\0b", 3));
}

// --- Numbers

TEST(QueryStringParserTest, DecimalIsReadAsFarAsItIsANumber) {
  EXPECT_EQ(getDecimal("26"), 26);
  EXPECT_EQ(getDecimal("-7"), -7);
  EXPECT_EQ(getDecimal("++12x"), 12);  // a blank, a blank, "12x"
  EXPECT_EQ(getDecimal("abc"), 0);
  EXPECT_EQ(getDecimal("0x10"), 0);
}

TEST(QueryStringParserTest, DecimalStopsAtTheEndsOf32Bits) {
  constexpr int kMost = std::numeric_limits<int>::max();
  constexpr int kLeast = std::numeric_limits<int>::min();
  EXPECT_EQ(getDecimal("2147483647"), kMost);
  EXPECT_EQ(getDecimal("2147483648"), kMost);
  EXPECT_EQ(getDecimal("4294967295"), kMost);
  EXPECT_EQ(getDecimal("99999999999999999999999"), kMost);
  EXPECT_EQ(getDecimal("-2147483648"), kLeast);
  EXPECT_EQ(getDecimal("-2147483649"), kLeast);
  EXPECT_EQ(getDecimal("-99999999999999999999999"), kLeast);
}

TEST(QueryStringParserTest, HexadecimalTakesEightCharacters) {
  EXPECT_EQ(getHexadecimal("0000001A"), 26);
  EXPECT_EQ(getHexadecimal("1a"), 26);
  EXPECT_EQ(getHexadecimal("0x1A"), 26);
  EXPECT_EQ(getHexadecimal("FFFFFFFF"), -1);
  EXPECT_EQ(getHexadecimal("123456789"), 0x12345678);
  EXPECT_EQ(getHexadecimal("0x123456789"), 0x123456);
  EXPECT_EQ(getHexadecimal("-1"), -1);
  EXPECT_EQ(getHexadecimal("12 34"), 0x12);
}

TEST(QueryStringParserTest, HexadecimalLeavesTheValueWhenNothingConverts) {
  EXPECT_EQ(getHexadecimal("xyz"), kUntouched);
  EXPECT_EQ(getHexadecimal("++"), kUntouched);
  EXPECT_EQ(getHexadecimal("%00"), kUntouched);
}

TEST(QueryStringParserTest, HexadecimalIsScannedAsSscanfDoes) {
  RandomSource random(1);
  for (int i = 0; i < 3000; ++i) {
    const uint32_t size = 1 + random.below(12);
    const std::string text = random.text("0123456789abcdefABCDEFxX-- \t\v0000g", size);
    auto expected = static_cast<unsigned int>(kUntouched);
    sscanf(text.c_str(), "%08X", &expected);
    ASSERT_EQ(getHexadecimal(text), static_cast<int>(expected)) << text;
  }
}

// --- Binary data

TEST(QueryStringParserTest, DataIsDecodedToMemory) {
  EXPECT_EQ(getData(*parse("d=TWFuTWE%3D&e=x"), "d"), ok("ManMa"));
  EXPECT_EQ(getData(*parse("d=%00"), "d"), ok(std::string(1, '\0')));
}

TEST(QueryStringParserTest, LineWrappedAndUrlSafeDataIsDecoded) {
  EXPECT_EQ(getData(*parse("d=TWFu\r\nTW-_\r\n"), "d"), ok("ManMo\xBF"));
}

TEST(QueryStringParserTest, EmptyDataInMemoryIsAnInvalidProtocol) {
  EXPECT_EQ(getData(*parse("d=&e=x"), "d"), invalid());
}

TEST(QueryStringParserTest, TextThatIsNoBase64IsAnInvalidProtocol) {
  EXPECT_EQ(getData(*parse("d=TW?u"), "d"), invalid());
  const auto parser = parse("d=TW?u");
  EXPECT_EQ(parser->getBinaryData("d", kOutput), CommonReturnCode_InvalidProtocol);
  EXPECT_NE(access(kOutput, F_OK), 0);
}

TEST(QueryStringParserTest, DataIsNotHandedOutWhenMemoryIsOut) {
  const auto parser = parse("d=TWFu");
  void* data = &data;
  unsigned int size = 77;
  const CallFault fault(Call::Malloc, ENOMEM);
  EXPECT_EQ(parser->getBinaryData("d", data, size), CommonReturnCode_NotEnoughMemory);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_EQ(data, &data);
  EXPECT_EQ(size, 77U);
}

TEST(QueryStringParserTest, SecondFetchDecodesTheDecodedBytes) {
  const auto parser = parse("d=TWFuTWFu");
  EXPECT_EQ(getData(*parser, "d"), ok("ManMan"));
  EXPECT_EQ(getData(*parser, "d"), ok("1\xA9\xCCjqn"));  // of "ManManFu"
}

TEST(QueryStringParserTest, DataOfAnOddLengthReadsOnIntoWhatFollows) {
  EXPECT_EQ(getData(*parse("d=TW&e=Fu"), "d"), ok("Man"));
  EXPECT_EQ(getData(*parse("d=TQ"), "d"), ok("M\x04\xD0"));  // of "TQTQ": the value, then the file's own bytes
}

TEST(QueryStringParserTest, DataIsDecodedToAFile) {
  const auto parser = parse("d=TWFuTQ%3D%3D");
  writeFile(kOutput, "longer than the data");
  EXPECT_EQ(parser->getBinaryData("d", kOutput), CommonReturnCode_Ok);
  EXPECT_EQ(readFile(kOutput), "ManM");
}

// How many descriptors are open on the file; each must be one that a program started meanwhile does not get.
std::size_t closeOnExecDescriptors(const std::string& path) {
  std::size_t count = 0;
  DIR* const directory = opendir("/proc/self/fd");
  while (const dirent* const entry = readdir(directory)) {
    char target[256] = {};
    if (readlinkat(dirfd(directory), entry->d_name, target, sizeof target - 1) > 0 && path == target) {
      EXPECT_EQ(fcntl(std::stoi(entry->d_name), F_GETFD), FD_CLOEXEC);
      ++count;
    }
  }
  closedir(directory);
  return count;
}

TEST(QueryStringParserTest, OutputFileIsCloseOnExec) {
  const auto parser = parse("d=" + std::string(1 << 20, 'A'));
  ASSERT_EQ(mkfifo(kOutput, 0600), 0);  // holds less than the data: the file stays open until that is read
  std::thread writer([&] { EXPECT_EQ(parser->getBinaryData("d", kOutput), CommonReturnCode_Ok); });
  FILE* const reader = fopen(kOutput, "re");
  EXPECT_NE(fgetc(reader), EOF);
  EXPECT_EQ(closeOnExecDescriptors(kOutput), 2U);  // the writer's and the reader's
  while (fgetc(reader) != EOF) {
  }
  fclose(reader);
  writer.join();
}

TEST(QueryStringParserTest, EmptyDataCreatesTheFileThroughTheShell) {
  const auto parser = parse("d=");
  EXPECT_EQ(parser->getBinaryData("d", kOutput), CommonReturnCode_Ok);
  EXPECT_EQ(readFile(kOutput), "");
  EXPECT_EQ(KelpTest::lastSystemCommand(), std::string("/bin/busybox touch ") + kOutput);
}

TEST(QueryStringParserTest, OutputFileIsCreatedAsTheUmaskAllows) {
  for (const char* body : {"d=TWFu", "d="}) {
    unlink(kOutput);
    const auto parser = parse(body);
    const mode_t mask = umask(027);
    EXPECT_EQ(parser->getBinaryData("d", kOutput), CommonReturnCode_Ok);
    umask(mask);
    EXPECT_EQ(KelpTest::modeOf(kOutput), 0640U) << body;
  }
}

TEST(QueryStringParserTest, ALinkInThePlaceOfTheOutputFileIsFollowed) {
  const auto parser = parse("d=TWFu");
  writeFile("/tmp/target", "what the link points to");
  ASSERT_EQ(symlink("/tmp/target", kOutput), 0);
  EXPECT_EQ(parser->getBinaryData("d", kOutput), CommonReturnCode_Ok);
  EXPECT_EQ(readFile("/tmp/target"), "Man");
}

TEST(QueryStringParserTest, EmptyDataLeavesAnExistingFilesContent) {
  const auto parser = parse("d=");
  writeFile(kOutput, "kept");
  EXPECT_EQ(parser->getBinaryData("d", kOutput), CommonReturnCode_Ok);
  EXPECT_EQ(readFile(kOutput), "kept");
}

TEST(QueryStringParserTest, ResultOfTheShellIsTheResult) {
  const auto parser = parse("d=");
  EXPECT_EQ(parser->getBinaryData("d", std::string("/tmp/missing/output")), CommonReturnCode_IoError);
}

TEST(QueryStringParserTest, FileThatCannotBeOpenedIsAnIoError) {
  const auto parser = parse("d=TWFu");
  EXPECT_EQ(parser->getBinaryData("d", std::string("/tmp/missing/output")), CommonReturnCode_IoError);
  EXPECT_EQ(getData(*parser, "d").value, std::string("1\xA9\xEE"));  // of "Manu": decoded all the same
}

TEST(QueryStringParserTest, ShortWriteIsAnIoErrorAndLeavesNoDescriptor) {
  const auto parser = parse("d=TWFu");
  const std::size_t before = openDescriptors();
  const CallFault fault(Call::Fwrite, ENOSPC);
  EXPECT_EQ(parser->getBinaryData("d", kOutput), CommonReturnCode_IoError);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_EQ(openDescriptors(), before);
}

TEST(QueryStringParserTest, FullDiskIsAnIoErrorAndLeavesAnEmptyFile) {
  const auto parser = parse("d=" + std::string(40000, 'A'));
  {
    const KelpTest::FullDisk disk(20000);
    EXPECT_EQ(parser->getBinaryData("d", kOutput), CommonReturnCode_IoError);
  }
  EXPECT_EQ(access(kOutput, F_OK), 0);
  EXPECT_EQ(readFile(kOutput), "");
}

TEST(QueryStringParserTest, ADeviceThatIsFullIsAnIoError) {
  EXPECT_EQ(parse("d=TWFu")->getBinaryData("d", std::string("/dev/full")), CommonReturnCode_IoError);
}

// --- A second opinion

void expectHoldsMembers(const QueryStringParser& parser, const std::vector<RequestMember>& members,
                        const std::string& body) {
  for (const RequestMember& member : members) {
    const RequestMember& first = firstNamed(members, member.name);
    long offset = -1;
    ASSERT_EQ(parser.getMemberInfo(member.name, offset), first.value.size()) << testing::PrintToString(body);
    ASSERT_EQ(offset, static_cast<long>(first.offset)) << testing::PrintToString(body);
    ASSERT_EQ(getRaw(parser, member.name), first.value) << testing::PrintToString(body);
  }
}

void expectParsesAsStepByStep(const std::string& body) {
  const auto parser = parse(body);
  expectHoldsMembers(*parser, QueryStringReference(body).members(), body);
}

TEST(QueryStringParserTest, WellFormedRequestsParseAsStepByStep) {
  RandomSource random(2);
  for (int i = 0; i < 4000; ++i) {
    const uint32_t members = 1 + random.below(8);
    const uint32_t longestValue = 1 + random.below(60);
    expectParsesAsStepByStep(wellFormedQueryString(random, members, longestValue));
    ASSERT_FALSE(HasFatalFailure());
  }
}

TEST(QueryStringParserTest, HostileRequestsParseAsStepByStep) {
  RandomSource random(3);
  for (int i = 0; i < 10000; ++i) {
    const uint32_t size = random.below(200);
    expectParsesAsStepByStep(hostileQueryString(random, size));
    ASSERT_FALSE(HasFatalFailure());
  }
}

TEST(QueryStringParserTest, LargeRequestsParseAsStepByStep) {
  RandomSource random(4);
  expectParsesAsStepByStep("d=" + randomUrlEncoded(random, 1000000));
  expectParsesAsStepByStep(wellFormedQueryString(random, 100, 5000));
  expectParsesAsStepByStep(hostileQueryString(random, 30000));
}

// The table's size is estimated from the members read so far; these deceive the estimate either way.
TEST(QueryStringParserTest, ManyMembersParseAsStepByStepHoweverTheyAreSpread) {
  RandomSource random(5);
  const std::string few = "d=" + std::string(100000, 'x') + "&";
  const std::string many = wellFormedQueryString(random, 1500, 3);
  expectParsesAsStepByStep(many);
  expectParsesAsStepByStep(few + many);
  expectParsesAsStepByStep(many + "&" + few);
  expectParsesAsStepByStep("%" + many + "&" + few + many);
}

// --- Requests that end with a page, behind which nothing may be touched

// The longest values there can be, and shorter ones, where a page and with it the mapping may end.
TEST(QueryStringParserTest, DataMayEndWithThePage) {
  for (const std::size_t end : {kPage, 16 * kPage}) {
    for (std::size_t size = end - 4; size <= end + 4; ++size) {
      for (const std::string head : {"=", "d=", "a=&d=", "=&=&d=", "=%41&d="}) {
        const GuardedRequest request(head + std::string(size - head.size(), 'A'));
        const Text data = getData(request.parser(), head == "=" ? "" : "d");
        ASSERT_EQ(data.result, CommonReturnCode_Ok) << head << size;
        ASSERT_EQ(data.value.substr(0, end / 2), std::string(end / 2, '\0'));
        ASSERT_GE(data.value.size(), (size - head.size()) / 4 * 3);
      }
    }
  }
}

// The names before it shift what ends with the page against the words that it is read in.
TEST(QueryStringParserTest, NameValueAndEscapeMayEndWithThePage) {
  for (std::size_t shift = 0; shift < 8; ++shift) {
    for (const std::string join : {"", "=", "=&", "=%41%41%41&b"}) {
      for (const std::string tail :
           {"", "%", "%4", "%41", "=", "+", "&", "&x", "&=", "\r\n", "%3D", "=%", "=%4", "=T"}) {
        const std::string head = std::string(shift, 'a') + join;
        const std::string body = head + std::string(kPage - head.size() - tail.size(), 'A') + tail;
        const GuardedRequest request(body);
        expectHoldsMembers(request.parser(), QueryStringReference(body).members(), body);
        ASSERT_FALSE(HasFatalFailure()) << head << " and " << tail;
      }
    }
  }
}

}  // namespace
