#include <errno.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "BinaryParser.h"
#include "RequestDecoder.h"
#include "SysFunc.h"
#include "support/BinaryRecordReference.h"
#include "support/CallFaults.h"
#include "support/LogCapture.h"
#include "support/ObjectType.h"
#include "support/RandomSource.h"
#include "support/RequestGenerators.h"
#include "support/Vectors.h"
#include "tests/rpc/ParserTests.h"

namespace {

using Kelp::BinaryParser;
using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_NotEnoughMemory;
using Kelp::CommonReturnCode_Ok;
using KelpTest::BinaryRecordReference;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::expectEveryGetterAnswersInvalidProtocol;
using KelpTest::failed;
using KelpTest::getData;
using KelpTest::getFile;
using KelpTest::getString;
using KelpTest::hostileRecord;
using KelpTest::invalid;
using KelpTest::kOutput;
using KelpTest::kRequest;
using KelpTest::kUntouched;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::ok;
using KelpTest::RandomSource;
using KelpTest::readFile;
using KelpTest::RequestMember;
using KelpTest::startRecord;
using KelpTest::State;
using KelpTest::stateOf;
using KelpTest::stopRecord;
using KelpTest::Text;
using KelpTest::updateRecord;
using KelpTest::wellFormedRecord;
using KelpTest::word;
using KelpTest::writeFile;
using GuardedRequest = KelpTest::GuardedRequest<BinaryParser>;

constexpr char kPackage[] = "/tmp/package";
const std::size_t kPage = KelpTest::pageSize();
const std::string kNul(1, '\0');

static_assert(!std::is_copy_constructible_v<BinaryParser> && !std::is_copy_assignable_v<BinaryParser>,
              "a copy would unmap the same memory");

std::unique_ptr<BinaryParser> parse(const std::string& record) {
  return KelpTest::parseRequest<BinaryParser>(record);
}

State stateAfter(const std::string& record) {
  return stateOf(*parse(record));
}

std::unique_ptr<BinaryParser> parseVector(const std::string& name) {
  return parse(KelpTest::vectorOf("requests.txt", name));
}

struct Member {
  std::string name;
  std::string value;
};

// All members, in order, stand one behind the other, and getMember() gives each.
void expectMembers(const BinaryParser& parser, const std::vector<Member>& members) {
  EXPECT_EQ(stateOf(parser), State::Done);
  long expectedOffset = 0;
  for (const Member& member : members) {
    long offset = -1;
    EXPECT_EQ(parser.getMemberInfo(member.name, offset), member.value.size()) << member.name;
    EXPECT_EQ(offset, expectedOffset) << member.name;
    expectedOffset += static_cast<long>(member.value.size());
    char* value = nullptr;
    EXPECT_EQ(parser.getMember(member.name, value), member.value.size());
    EXPECT_STREQ(value, member.value.empty() ? nullptr : member.value.c_str());
    Kelp::SysFunc::kelpFree(value);
  }
}

// --- Records

TEST(BinaryParserTest, RegistersUnderItsObjectType) {
  EXPECT_EQ(KelpTest::objectTypeOf(*parse("")), 2);
}

TEST(BinaryParserTest, StopApplicationHasItsMembersOneBehindTheOther) {
  const auto parser = parseVector("stopApplication");
  expectMembers(*parser,
                {{"methodName", "stopApplication"}, {"installId", "0000001A"}, {"processId", "3"}, {"callback", "1"}});
  long offset = -1;
  EXPECT_EQ(parser->getMemberInfo("callback", offset), 1U);
  EXPECT_EQ(offset, 24);
}

TEST(BinaryParserTest, StartApplicationHasItsArgumentsLast) {
  expectMembers(*parseVector("startApplication"), {{"methodName", "startApplication"},
                                                   {"installId", "FFFFFFFF"},
                                                   {"processId", "7"},
                                                   {"callback", "2"},
                                                   {"args", "--verbose 1"}});
  expectMembers(*parseVector("startApplication with the longest arguments"), {{"methodName", "startApplication"},
                                                                              {"installId", "01020304"},
                                                                              {"processId", "2147483647"},
                                                                              {"callback", "-2"},
                                                                              {"args", std::string(255, 'a')}});
}

TEST(BinaryParserTest, UpdateApplicationNamesAPackage) {
  expectMembers(
      *parseVector("updateApplication"),
      {{"methodName", "updateApplication"}, {"installId", "00ABCDEF"}, {"applicationPackage", "/tmp/package"}});
}

TEST(BinaryParserTest, InitAllDataHasAResetCode) {
  expectMembers(*parseVector("initAllData"), {{"methodName", "initAllData"}, {"resetCode", "12"}});
}

TEST(BinaryParserTest, GetApplicationListHasItsNameOnly) {
  const auto parser = parseVector("getApplicationList");
  expectMembers(*parser, {{"methodName", "getApplicationList"}});
  expectEveryGetterAnswersInvalidProtocol(*parser, "installId");
}

TEST(BinaryParserTest, WordsAreSignedButForTheInstallId) {
  expectMembers(
      *parseVector("stopApplication with words that have their highest bit"),
      {{"methodName", "stopApplication"}, {"installId", "80000000"}, {"processId", "-2147483648"}, {"callback", "-1"}});
}

TEST(BinaryParserTest, BytesBehindTheFieldsMeanNothing) {
  expectMembers(*parse(word(5) + word(12) + "tail"), {{"methodName", "initAllData"}, {"resetCode", "12"}});
  expectMembers(*parse(updateRecord(1, "/p") + "tail"),
                {{"methodName", "updateApplication"}, {"installId", "00000001"}, {"applicationPackage", "/p"}});
}

TEST(BinaryParserTest, DecoderReadsTheMethodAndItsValues) {
  const auto parser = parse(startRecord(0x1A, 3, "x", 1));
  Kelp::RequestDecoder decoder(*parser);
  std::string text;
  int number = 0;
  EXPECT_EQ(decoder.getApi(text), CommonReturnCode_Ok);
  EXPECT_EQ(text, "startApplication");
  EXPECT_EQ(decoder.getInstallId("installId", number), CommonReturnCode_Ok);
  EXPECT_EQ(number, 0x1A);
  EXPECT_EQ(decoder.getProcessId("processId", number), CommonReturnCode_Ok);
  EXPECT_EQ(number, 3);
  EXPECT_EQ(decoder.getCallback("callback", number), CommonReturnCode_Ok);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(decoder.getArgString("args", text), CommonReturnCode_Ok);
  EXPECT_EQ(text, "x");
}

// --- Bad requests

TEST(BinaryParserTest, CodeOfNoMethodIsABadRequest) {
  for (const uint32_t code : {1U, 2U, 7U, 8U, 0x100U, 0x04000000U, 0xFFFFFFFFU}) {
    const auto parser = parse(word(code) + std::string(400, '\0'));
    EXPECT_EQ(stateOf(*parser), State::Error) << code;
    expectEveryGetterAnswersInvalidProtocol(*parser, "methodName");
  }
}

TEST(BinaryParserTest, RecordShorterThanItsFieldsIsABadRequest) {
  const std::string records[] = {updateRecord(1, "").substr(0, 8), startRecord(1, 2, "x", 3), stopRecord(1, 2, 3),
                                 word(5) + word(1), word(6)};
  for (const std::string& record : records) {
    EXPECT_EQ(stateAfter(record), State::Done);
    for (std::size_t size = 0; size < record.size(); ++size) {
      const auto parser = parse(record.substr(0, size));
      EXPECT_EQ(stateOf(*parser), State::Error) << size;
      expectEveryGetterAnswersInvalidProtocol(*parser, "methodName");
    }
  }
}

TEST(BinaryParserTest, RecordMayFillItsPages) {
  for (const std::size_t pages : {std::size_t{1}, std::size_t{2}, std::size_t{17}}) {
    for (const std::string& start : {updateRecord(1, "").substr(0, 8), stopRecord(1, 2, 3), startRecord(1, 2, "", 3)}) {
      const GuardedRequest request(start + std::string(pages * kPage - start.size(), 'x'));
      EXPECT_EQ(stateOf(request.parser()), start.size() == 8 ? State::Error : State::Done);
    }
  }
}

TEST(BinaryParserTest, ArgumentsThatTheirFieldDoesNotEndAreABadRequest) {
  EXPECT_EQ(getString(*parse(startRecord(1, 2, std::string(255, 'a'), 3)), "args"), ok(std::string(255, 'a')));
  EXPECT_EQ(stateAfter(startRecord(1, 2, std::string(256, 'a'), 3)), State::Error);
  EXPECT_EQ(stateAfter(startRecord(1, 2, std::string(256, 'a'), 0)), State::Error);
}

TEST(BinaryParserTest, PathMayBeEndedByTheFile) {
  EXPECT_EQ(getString(*parse(word(0) + word(1) + "/tmp/package"), "applicationPackage"), ok("/tmp/package"));
  EXPECT_EQ(stateAfter(word(0) + word(1)), State::Done);
}

// "updateApplication", eight digits and the path.
TEST(BinaryParserTest, TextOf512BytesOrMoreIsABadRequest) {
  const std::size_t longest = 511 - 17 - 8;
  EXPECT_EQ(getString(*parse(updateRecord(1, std::string(longest, 'p'))), "applicationPackage"),
            ok(std::string(longest, 'p')));
  for (const std::size_t size : {longest + 1, std::size_t{512}, std::size_t{513}, std::size_t{100000}}) {
    EXPECT_EQ(stateAfter(updateRecord(1, std::string(size, 'p'))), State::Error) << size;
    EXPECT_EQ(stateAfter(word(0) + word(1) + std::string(size, 'p')), State::Error) << size;
  }
}

TEST(BinaryParserTest, MissingFileLeavesOneErrorLineAndInvalidProtocol) {
  const LogCapture log;
  BinaryParser parser("/tmp/missing");
  EXPECT_EQ(stateOf(parser), State::Error);
  expectEveryGetterAnswersInvalidProtocol(parser, "methodName");
  EXPECT_EQ(log.lines(), std::vector<LogLine>{
                             errorLine("FileOperator.cpp", 0, "open", "###ERROR### open() returns error(errno=2).\n")});
}

TEST(BinaryParserTest, FileThatCannotBeMappedIsABadRequest) {
  writeFile(kRequest, word(6));
  const LogCapture log;
  const CallFault fault(Call::Mmap, ENOMEM);
  BinaryParser parser(kRequest);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_EQ(stateOf(parser), State::Error);
  expectEveryGetterAnswersInvalidProtocol(parser, "methodName");
  EXPECT_TRUE(log.lines().empty());
}

TEST(BinaryParserTest, FileOf4GiBIsABadRequest) {
  writeFile(kRequest, word(6));
  for (const long long size : {1LL << 32, (1LL << 32) + 4}) {
    ASSERT_EQ(truncate(kRequest, size), 0);
    EXPECT_EQ(stateOf(BinaryParser(kRequest)), State::Error);
  }
}

TEST(BinaryParserTest, WithoutMemoryForTheTextTheFileIsClosed) {
  writeFile(kRequest, word(6));
  const std::size_t before = KelpTest::openDescriptors();
  const CallFault fault(Call::Malloc, ENOMEM);
  BinaryParser parser(kRequest);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_EQ(KelpTest::openDescriptors(), before);
  EXPECT_EQ(stateOf(parser), State::Error);
  expectEveryGetterAnswersInvalidProtocol(parser, "methodName");
}

TEST(BinaryParserTest, GivesBackDescriptorAndMappingWhateverBecameOfTheFile) {
  const std::size_t before = KelpTest::openDescriptors();
  for (const std::string& record : {stopRecord(1, 2, 3), word(8)}) {
    auto parser = parse(record);
    EXPECT_EQ(KelpTest::openDescriptors(), before + 1);
    EXPECT_TRUE(KelpTest::isMapped(kRequest));
    ASSERT_EQ(truncate(kRequest, 0), 0);
    parser.reset();
    EXPECT_FALSE(KelpTest::isMapped(kRequest));
    EXPECT_EQ(KelpTest::openDescriptors(), before);
  }
}

TEST(BinaryParserTest, LeavesTheRequestFileAsItIs) {
  const std::string record = startRecord(1, 2, "x", 3);
  parse(record).reset();
  EXPECT_EQ(readFile(kRequest), record);
}

TEST(BinaryParserDeathTest, ParsingTwiceEndsTheProcess) {
  const auto parser = parse(word(6));
  EXPECT_DEATH(parser->doParsing(),
               "BinaryParser\\.cpp:[0-9]+: void Kelp::BinaryParser::doParsing\\(\\): "
               "Assertion `PERSAR_INIT == m_state' failed");
}

// --- Members

TEST(BinaryParserTest, MissingMemberHasSize0) {
  const auto parser = parse(word(6));
  long offset = 77;
  EXPECT_EQ(parser->getMemberInfo("installId", offset), 0U);
  char text = 'x';
  char* value = &text;
  EXPECT_EQ(parser->getMember("installId", value), 0U);
  EXPECT_EQ(value, nullptr);
}

TEST(BinaryParserTest, EmptyMemberCountsAsMissing) {
  const auto parser = parse(startRecord(1, 2, "", 3));
  EXPECT_EQ(stateOf(*parser), State::Done);
  expectEveryGetterAnswersInvalidProtocol(*parser, "args");
  expectEveryGetterAnswersInvalidProtocol(*parse(updateRecord(1, "")), "applicationPackage");
}

TEST(BinaryParserTest, WithoutMemoryEveryValueIsInvalid) {
  const auto parser = parse(stopRecord(1, 2, 3));
  int number = kUntouched;
  {
    const CallFault fault(Call::Malloc, ENOMEM);
    EXPECT_EQ(parser->getDecimal("processId", number), CommonReturnCode_InvalidProtocol);
  }
  {
    const CallFault fault(Call::Malloc, ENOMEM);
    EXPECT_EQ(parser->getHexadecimal("installId", number), CommonReturnCode_InvalidProtocol);
  }
  EXPECT_EQ(number, kUntouched);
  const CallFault fault(Call::Malloc, ENOMEM);
  EXPECT_EQ(getString(*parser, "methodName"), invalid());
  EXPECT_EQ(fault.hits(), 1);
}

TEST(BinaryParserTest, NumbersAreReadFromTheirText) {
  const auto parser = parse(stopRecord(0xFFFFFFFF, 0x80000000, 3));
  int number = kUntouched;
  EXPECT_EQ(parser->getHexadecimal("installId", number), CommonReturnCode_Ok);
  EXPECT_EQ(number, -1);
  EXPECT_EQ(parser->getDecimal("processId", number), CommonReturnCode_Ok);
  EXPECT_EQ(number, INT32_MIN);
  EXPECT_EQ(parser->getDecimal("methodName", number), CommonReturnCode_Ok);
  EXPECT_EQ(number, 0);
  number = kUntouched;
  EXPECT_EQ(parser->getHexadecimal("methodName", number), CommonReturnCode_Ok);
  EXPECT_EQ(number, kUntouched);
}

// --- Data to memory

TEST(BinaryParserTest, DataInMemoryIsOfTheRecordAtTheTextsPlace) {
  const std::string record = startRecord(0x1A, 3, "argument", 1);
  const auto parser = parse(record);
  EXPECT_EQ(getData(*parser, "methodName"), ok(record.substr(0, 16)));
  EXPECT_EQ(getData(*parser, "installId"), ok(record.substr(16, 8)));
  EXPECT_EQ(getData(*parser, "installId"), ok(record.substr(16, 8)));
  EXPECT_EQ(getData(*parser, "args"), ok(record.substr(26, 8)));
  EXPECT_EQ(getData(*parser, "missing"), invalid());
}

TEST(BinaryParserTest, DataInMemoryThatTheRecordDoesNotReachIsInvalid) {
  const auto parser = parse(stopRecord(0x1A, 3, 1));  // 16 bytes, for a text of 25
  EXPECT_EQ(getData(*parser, "methodName"), ok(stopRecord(0x1A, 3, 1).substr(0, 15)));
  EXPECT_EQ(getData(*parser, "installId"), invalid());
  EXPECT_EQ(getData(*parser, "callback"), invalid());
  const auto longer = parse(stopRecord(0x1A, 3, 1) + "1234567");
  EXPECT_EQ(getData(*longer, "installId"), ok(stopRecord(0x1A, 3, 1).substr(15) + "1234567"));
  EXPECT_EQ(getData(*longer, "processId"), invalid());
}

TEST(BinaryParserTest, DataIsNotHandedOutWhenMemoryIsOut) {
  const auto parser = parse(stopRecord(1, 2, 3));
  void* data = &data;
  unsigned int size = 77;
  const CallFault fault(Call::Malloc, ENOMEM);
  EXPECT_EQ(parser->getBinaryData("methodName", data, size), CommonReturnCode_NotEnoughMemory);
  EXPECT_EQ(data, &data);
  EXPECT_EQ(size, 77U);
}

// --- Data to a file

// What becomes of a package file of that text.
Text decodedPackage(const std::string& text) {
  writeFile(kPackage, text);
  return getFile(*parse(updateRecord(1, kPackage)), "applicationPackage");
}

const LogLine kDecodingError = errorLine("BinaryParser.cpp", 0, "getBinaryData", "Base64 dec error");

TEST(BinaryParserTest, PackageIsDecodedToAFile) {
  EXPECT_EQ(decodedPackage("TWFuTQ=="), ok("ManM"));
  EXPECT_EQ(decodedPackage(std::string(100000, 'A')), ok(std::string(75000, '\0')));
}

TEST(BinaryParserTest, LineEndsAndBlanksInAPackageAreDropped) {
  EXPECT_EQ(decodedPackage("\r\nTW Fu\r\n T\n\rQ==\r\n"), ok("ManM"));
  std::string text;
  for (int line = 0; line < 100; ++line) {
    text += std::string(76, 'A') + "\r\n";
  }
  EXPECT_EQ(decodedPackage(text), ok(std::string(5700, '\0')));
  EXPECT_EQ(decodedPackage("\r\n \r\n"), ok(""));
}

// Decoding reads groups of four characters: there has to be memory, of NULs, for the last one.
TEST(BinaryParserTest, PackageWithoutItsPaddingIsDecodedAsIfItHadSome) {
  EXPECT_EQ(decodedPackage("TWFuTWE"), ok("ManMa"));
  EXPECT_EQ(decodedPackage("TWFuTQ"), ok("ManM"));
  EXPECT_EQ(decodedPackage("T"), ok("L"));
}

// What is dropped leaves its characters, or others, behind the text.
TEST(BinaryParserTest, PackageWithoutItsPaddingMayHaveLineEndsAndBlanks) {
  EXPECT_EQ(decodedPackage("TWFuTQ\r\n"), ok("ManM"));
  EXPECT_EQ(decodedPackage("TWFuTWE\n"), ok("ManMa"));
  EXPECT_EQ(decodedPackage("TWF TQ"), ok("MaS@"));
  EXPECT_EQ(decodedPackage("TWFu\r\nTWFu\r\nTQ\r\n"), ok("ManManM"));
}

TEST(BinaryParserTest, PackageMayBeFetchedAgain) {
  writeFile(kPackage, "TWFu");
  const auto parser = parse(updateRecord(1, kPackage));
  EXPECT_EQ(getFile(*parser, "applicationPackage"), ok("Man"));
  EXPECT_EQ(getFile(*parser, "applicationPackage"), ok("Man"));
  EXPECT_EQ(readFile(kPackage), "TWFu");
}

TEST(BinaryParserTest, PackageThatIsNoBase64LeavesOneErrorLineAndIsInvalid) {
  const LogCapture log;
  EXPECT_EQ(decodedPackage("TW?u"), invalid());
  EXPECT_EQ(log.errors(), std::vector<LogLine>{kDecodingError});
  EXPECT_NE(access(kOutput, F_OK), 0);
  EXPECT_EQ(decodedPackage("TW\tFu"), ok("Mp\x85\xB8"));  // a tab stays, and is a digit to the decoder
}

TEST(BinaryParserTest, EmptyPackageCreatesTheFileThroughTheShell) {
  EXPECT_EQ(decodedPackage(""), ok(""));
  EXPECT_EQ(KelpTest::lastSystemCommand(), std::string("/bin/busybox touch ") + kOutput);
  const auto parser = parse(updateRecord(1, kPackage));
  EXPECT_EQ(parser->getBinaryData("applicationPackage", std::string("/tmp/missing/output")), CommonReturnCode_IoError);
}

TEST(BinaryParserTest, MissingPackageIsAnIoError) {
  const LogCapture log;
  EXPECT_EQ(getFile(*parse(updateRecord(1, "/tmp/missing")), "applicationPackage"), failed(CommonReturnCode_IoError));
  EXPECT_TRUE(log.lines().empty());
}

TEST(BinaryParserTest, PathOf256BytesOrMoreIsInvalid) {
  const std::string directory = "/tmp/" + std::string(200, 'd');
  ASSERT_EQ(mkdir(directory.c_str(), 0700), 0);
  const std::string path255 = directory + "/" + std::string(255 - directory.size() - 1, 'p');
  writeFile(path255, "TWFu");
  writeFile(path255 + "p", "TWFu");
  EXPECT_EQ(getFile(*parse(updateRecord(1, path255)), "applicationPackage"), ok("Man"));
  EXPECT_EQ(getFile(*parse(updateRecord(1, path255 + "p")), "applicationPackage"), invalid());
}

TEST(BinaryParserTest, PackageThatCannotBeReadIsAnIoError) {
  EXPECT_EQ(getFile(*parse(updateRecord(1, "/")), "applicationPackage"), failed(CommonReturnCode_IoError));
  writeFile(kPackage, "TWFu");
  const auto parser = parse(updateRecord(1, kPackage));
  const CallFault fault(Call::Fopen, EACCES);
  EXPECT_EQ(getFile(*parser, "applicationPackage"), failed(CommonReturnCode_IoError));
  EXPECT_EQ(fault.hits(), 1);
}

// A file of the kernel's, which shows a page as its size and holds a few bytes.
TEST(BinaryParserTest, PackageThatIsShorterThanItsSizeIsAnIoError) {
  const std::string path = "/sys/devices/system/cpu/online";
  if (Kelp::SysFunc::kelpStat(path) <= 0) {
    GTEST_SKIP() << "no such file on this machine";
  }
  ASSERT_LT(static_cast<long long>(readFile(path).size()), Kelp::SysFunc::kelpStat(path));
  EXPECT_EQ(getFile(*parse(updateRecord(1, path)), "applicationPackage"), failed(CommonReturnCode_IoError));
  EXPECT_NE(access(kOutput, F_OK), 0);
}

TEST(BinaryParserTest, OutputThatCannotBeWrittenIsAnIoErrorAndLeavesNoDescriptor) {
  writeFile(kPackage, "TWFu");
  const auto parser = parse(updateRecord(1, kPackage));
  const std::size_t before = KelpTest::openDescriptors();
  EXPECT_EQ(parser->getBinaryData("applicationPackage", std::string("/tmp/missing/output")), CommonReturnCode_IoError);
  EXPECT_EQ(parser->getBinaryData("applicationPackage", std::string("/dev/full")), CommonReturnCode_IoError);
  const CallFault fault(Call::Fwrite, ENOSPC);
  EXPECT_EQ(getFile(*parser, "applicationPackage"), failed(CommonReturnCode_IoError));
  EXPECT_EQ(KelpTest::openDescriptors(), before);
}

TEST(BinaryParserTest, PackageThatMemoryDoesNotHoldIsNotEnoughMemory) {
  writeFile(kPackage, "TWFu");
  const auto parser = parse(updateRecord(1, kPackage));
  {
    const CallFault fault(Call::Malloc, ENOMEM);
    EXPECT_EQ(getFile(*parser, "applicationPackage"), failed(CommonReturnCode_NotEnoughMemory));
  }
  for (const long long size : {(1LL << 32) - 4, 1LL << 32, (1LL << 32) + 4}) {
    ASSERT_EQ(truncate(kPackage, size), 0);
    EXPECT_EQ(getFile(*parser, "applicationPackage"), failed(CommonReturnCode_NotEnoughMemory));
  }
}

// --- A second opinion

void expectParsesAsRowByRow(const std::string& record) {
  const BinaryRecordReference expected(record);
  const auto parser = parse(record);
  ASSERT_EQ(stateOf(*parser), expected.state()) << testing::PrintToString(record);
  if (expected.state() == State::Error) {
    ASSERT_EQ(getString(*parser, "methodName"), invalid());
    return;
  }
  std::vector<Member> members;
  for (const RequestMember& member : expected.members()) {
    members.push_back({member.name, member.value});
    ASSERT_EQ(getString(*parser, member.name), member.value.empty() ? invalid() : ok(member.value));
  }
  expectMembers(*parser, members);
  ASSERT_FALSE(testing::Test::HasFailure()) << testing::PrintToString(record);
}

TEST(BinaryParserTest, WellFormedRecordsParseAsRowByRow) {
  RandomSource random(1);
  for (int i = 0; i < 10000; ++i) {
    const std::string record = wellFormedRecord(random);
    ASSERT_EQ(BinaryRecordReference(record).state(), State::Done) << testing::PrintToString(record);
    expectParsesAsRowByRow(record);
    ASSERT_FALSE(HasFailure());
  }
}

TEST(BinaryParserTest, HostileRecordsParseAsRowByRow) {
  RandomSource random(2);
  int bad = 0;
  for (int i = 0; i < 10000; ++i) {
    const std::string record = hostileRecord(random);
    expectParsesAsRowByRow(record);
    ASSERT_FALSE(HasFailure());
    bad += BinaryRecordReference(record).state() == State::Error ? 1 : 0;
  }
  EXPECT_GT(bad, 2000);
  EXPECT_LT(bad, 8000);
}

}  // namespace
