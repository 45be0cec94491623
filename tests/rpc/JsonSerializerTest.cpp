#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <json-c/json.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <vector>

#include "Base64EncDec.h"
#include "JsonSerializer.h"
#include "support/CallFaults.h"
#include "support/FileStatus.h"
#include "support/FullDisk.h"
#include "support/LogCapture.h"
#include "support/TextFile.h"

namespace {

using Kelp::CommonReturnCode_InvalidParameter;
using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_Ok;
using Kelp::JsonSerializer;
using Kelp::KelpObject;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::readText;
using KelpTest::traceLine;
using KelpTest::writeText;

const char kResponse[] = "/tmp/response";
const char kInput[] = "/tmp/input";

std::string bytesOf(size_t count) {
  std::string bytes;
  for (size_t i = 0; i < count; ++i) {
    bytes += static_cast<char>(i * 7 + i / 256);
  }
  return bytes;
}

// The descriptor that is open on the file, or -1.
int descriptorOf(const std::string& path) {
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir("/proc/self/fd"), closedir);
  while (const dirent* entry = readdir(directory.get())) {
    char target[256] = {};
    if (readlinkat(dirfd(directory.get()), entry->d_name, target, sizeof(target) - 1) > 0 && path == target) {
      return atoi(entry->d_name);
    }
  }
  return -1;
}

using Json = std::unique_ptr<json_object, int (*)(json_object*)>;

Json parsedResponse() {
  return Json(json_tokener_parse(readText(kResponse).c_str()), json_object_put);
}

class JsonSerializerTest : public testing::Test {
 protected:
  // Writes the response out and returns its text.
  std::string written() {
    EXPECT_EQ(m_serializer.doSerialize(), CommonReturnCode_Ok);
    return readText(kResponse);
  }

  void putText(const std::string& name, const std::string& value) {
    EXPECT_EQ(m_serializer.putStringData(name, value), CommonReturnCode_Ok);
  }

  void putBytes(const std::string& name, std::string bytes) {
    auto size = static_cast<unsigned int>(bytes.size());
    EXPECT_EQ(m_serializer.putBinaryData(name, &bytes[0], size), CommonReturnCode_Ok);
    EXPECT_EQ(size, bytes.size());
  }

  JsonSerializer m_serializer{kResponse};
};

// The whole message: this line ends without a newline.
const LogLine kBareError = errorLine("JsonSerializer.cpp", 0, "putBinaryData", "###ERROR###");

TEST_F(JsonSerializerTest, IsRegisteredWithItsType) {
  LogCapture log;
  EXPECT_TRUE(KelpObject::isObjectExist(&m_serializer));
  ASSERT_EQ(log.traces().size(), 1U);
  EXPECT_NE(log.traces()[0].message.find("(ObjectType=29)"), std::string::npos);
}

TEST_F(JsonSerializerTest, NamesItsOutputFile) {
  EXPECT_EQ(m_serializer.getOutputFile(), kResponse);
}

TEST_F(JsonSerializerTest, EmptyResponseIsAnEmptyObject) {
  EXPECT_EQ(written(), "{}");
}

TEST_F(JsonSerializerTest, NestsStructuresAndArrays) {
  int execId = 5;
  int funcId = 26;
  EXPECT_EQ(m_serializer.putDecimal("execId", execId), CommonReturnCode_Ok);
  EXPECT_EQ(m_serializer.putHexadecimal("funcId", funcId), CommonReturnCode_Ok);
  EXPECT_EQ(m_serializer.beginArray("args"), CommonReturnCode_Ok);
  EXPECT_EQ(m_serializer.beginStruct(""), CommonReturnCode_Ok);
  putText("prefName", "app1");
  EXPECT_EQ(m_serializer.endStruct(), CommonReturnCode_Ok);
  EXPECT_EQ(m_serializer.endArray(), CommonReturnCode_Ok);
  EXPECT_EQ(written(), R"({"execId":"5","funcId":"0000001A","args":[{"prefName":"app1"}]})");
}

TEST_F(JsonSerializerTest, ValuesBehindAContainerGoToItsParent) {
  m_serializer.beginStruct("outer");
  m_serializer.beginStruct("inner");
  putText("a", "1");
  m_serializer.endStruct();
  putText("b", "2");
  m_serializer.endStruct();
  putText("c", "3");
  EXPECT_EQ(written(), R"({"outer":{"inner":{"a":"1"},"b":"2"},"c":"3"})");
}

TEST_F(JsonSerializerTest, NamesMeanNothingInsideAnArray) {
  int number = 1;
  unsigned long long large = 2;
  m_serializer.beginArray("list");
  m_serializer.putDecimal("x", number);
  m_serializer.putDecimal("x", large);
  m_serializer.putHexadecimal("x", number);
  m_serializer.putHexadecimal("x", large);
  putText("x", "text");
  putBytes("x", "Man");
  m_serializer.beginArray("x");
  putText("x", "deep");
  m_serializer.endArray();
  m_serializer.beginStruct("x");
  m_serializer.endStruct();
  m_serializer.endArray();
  EXPECT_EQ(written(), R"({"list":["1","2","00000001","0000000000000002","text","TWFu",["deep"],{}]})");
}

TEST_F(JsonSerializerTest, RepeatedNameKeepsTheLastValue) {
  putText("a", "first");
  putText("b", "between");
  putText("a", "last");
  EXPECT_EQ(written(), R"({"a":"last","b":"between"})");
}

TEST_F(JsonSerializerTest, ContainerReplacesAValueOfItsName) {
  putText("a", "first");
  m_serializer.beginArray("a");
  putText("", "in it");
  m_serializer.endArray();
  EXPECT_EQ(written(), R"({"a":["in it"]})");
}

TEST_F(JsonSerializerTest, IntegersAreDecimalText) {
  for (int value : {0, 5, -5, 2147483647, -2147483647 - 1}) {
    EXPECT_EQ(m_serializer.putDecimal(std::to_string(value), value), CommonReturnCode_Ok);
  }
  EXPECT_EQ(written(), R"({"0":"0","5":"5","-5":"-5","2147483647":"2147483647","-2147483648":"-2147483648"})");
}

TEST_F(JsonSerializerTest, Decimals64BitsWideArePrintedAsSigned) {
  unsigned long long values[] = {0, 4294967296ULL, 0x7FFFFFFFFFFFFFFFULL, 0x8000000000000000ULL, 0xFFFFFFFFFFFFFFFFULL};
  m_serializer.beginArray("d");
  for (unsigned long long& value : values) {
    EXPECT_EQ(m_serializer.putDecimal("", value), CommonReturnCode_Ok);
  }
  EXPECT_EQ(written(), R"({"d":["0","4294967296","9223372036854775807","-9223372036854775808","-1"]})");
}

TEST_F(JsonSerializerTest, HexadecimalsHaveEightDigits) {
  int values[] = {0, 26, -1, 2147483647};
  m_serializer.beginArray("h");
  for (int& value : values) {
    EXPECT_EQ(m_serializer.putHexadecimal("", value), CommonReturnCode_Ok);
  }
  EXPECT_EQ(written(), R"({"h":["00000000","0000001A","FFFFFFFF","7FFFFFFF"]})");
}

TEST_F(JsonSerializerTest, Hexadecimals64BitsWideShowTheirLowHalfInSixteenDigits) {
  unsigned long long values[] = {0, 0x1122334455667788ULL, 0xFFFFFFFFFFFFFFFFULL, 0x100000000ULL};
  m_serializer.beginArray("h");
  for (unsigned long long& value : values) {
    EXPECT_EQ(m_serializer.putHexadecimal("", value), CommonReturnCode_Ok);
  }
  EXPECT_EQ(written(), R"({"h":["0000000000000000","0000000055667788","00000000FFFFFFFF","0000000000000000"]})");
}

TEST_F(JsonSerializerTest, TextIsEscapedAndReadsBackAsItWas) {
  std::string text;
  for (int byte = 1; byte < 128; ++byte) {
    text += static_cast<char>(byte);
  }
  text += "\xC3\xA4\xE2\x82\xAC";
  putText("q\"/", text);
  putText("short", "a\"b\\c\n\x01\xC3\xA4");
  EXPECT_NE(written().find("\"short\":\"a\\\"b\\\\c\\n\\u0001\xC3\xA4\""), std::string::npos);
  const Json root = parsedResponse();
  json_object* value = nullptr;
  ASSERT_TRUE(json_object_object_get_ex(root.get(), "q\"/", &value));
  EXPECT_EQ(json_object_get_string(value), text);
}

TEST_F(JsonSerializerTest, TextEndsAtItsFirstNulByte) {
  putText("a", std::string("x\0y", 3));
  putText("b", "");
  EXPECT_EQ(written(), R"({"a":"x","b":""})");
}

TEST_F(JsonSerializerTest, ThousandStringsReadBackInTheirOrder) {
  m_serializer.beginArray("list");
  for (int i = 0; i < 1000; ++i) {
    putText("", "value number " + std::to_string(i));
  }
  m_serializer.endArray();
  written();
  const Json root = parsedResponse();
  json_object* list = nullptr;
  ASSERT_TRUE(json_object_object_get_ex(root.get(), "list", &list));
  ASSERT_EQ(json_object_array_length(list), 1000U);
  for (size_t i = 0; i < 1000; ++i) {
    EXPECT_EQ(json_object_get_string(json_object_array_get_idx(list, i)), "value number " + std::to_string(i));
  }
}

TEST_F(JsonSerializerTest, EndOfTheOtherKindIsRefusedAndChangesNothing) {
  EXPECT_EQ(m_serializer.endArray(), CommonReturnCode_InvalidProtocol);
  m_serializer.beginArray("list");
  EXPECT_EQ(m_serializer.endStruct(), CommonReturnCode_InvalidProtocol);
  m_serializer.beginStruct("");
  EXPECT_EQ(m_serializer.endArray(), CommonReturnCode_InvalidProtocol);
  putText("a", "1");
  EXPECT_EQ(m_serializer.endStruct(), CommonReturnCode_Ok);
  EXPECT_EQ(m_serializer.endArray(), CommonReturnCode_Ok);
  putText("b", "2");
  EXPECT_EQ(written(), R"({"list":[{"a":"1"}],"b":"2"})");
}

using JsonSerializerDeathTest = JsonSerializerTest;

TEST_F(JsonSerializerDeathTest, ClosingTheRootEndsTheProcess) {
  EXPECT_DEATH(
      m_serializer.endStruct(),
      "JsonSerializer\\.cpp:[0-9]+: .*JsonSerializer::endStruct\\(\\): Assertion `1 < m_jsonObj\\.size\\(\\)' failed");
}

TEST_F(JsonSerializerDeathTest, ClosingTheRootBehindAContainerEndsTheProcess) {
  m_serializer.beginStruct("a");
  m_serializer.endStruct();
  EXPECT_DEATH(m_serializer.endStruct(), "Assertion `1 < m_jsonObj\\.size\\(\\)' failed");
}

// What it makes of json-c's values, none of which can be had without memory.
void fillIn(JsonSerializer& serializer) {
  serializer.putStringData("a", "b");
  serializer.beginArray("list");
  serializer.beginStruct("");
  serializer.doSerialize();
}

TEST_F(JsonSerializerDeathTest, NoMemoryForAValueEndsTheProcess) {
  for (const Call call : {Call::JsonNewString, Call::JsonNewArray, Call::JsonNewObject}) {
    EXPECT_DEATH(
        {
          const CallFault fault(call, ENOMEM);
          fillIn(m_serializer);
        },
        "JsonSerializer\\.cpp:[0-9]+: .*add\\(.*\\): Assertion `__null != value' failed");
  }
}

TEST_F(JsonSerializerDeathTest, NoMemoryForTheRootEndsTheProcess) {
  EXPECT_DEATH(
      {
        const CallFault fault(Call::JsonNewObject, ENOMEM);
        const JsonSerializer serializer(kResponse);
      },
      "JsonSerializer\\.cpp:[0-9]+: .*JsonSerializer\\(.*\\): Assertion `__null != root' failed");
}

TEST_F(JsonSerializerDeathTest, NoRoomForAValueEndsTheProcess) {
  for (const Call call : {Call::JsonObjectAdd, Call::JsonArrayAdd}) {
    EXPECT_DEATH(
        {
          const CallFault fault(call, ENOMEM);
          fillIn(m_serializer);
        },
        "JsonSerializer\\.cpp:[0-9]+: .*add\\(.*\\): Assertion `0 == result' failed");
  }
}

TEST_F(JsonSerializerDeathTest, NoMemoryForTheTextEndsTheProcess) {
  EXPECT_DEATH(
      {
        const CallFault fault(Call::JsonToString, ENOMEM);
        fillIn(m_serializer);
      },
      "JsonSerializer\\.cpp:[0-9]+: .*doSerialize\\(\\): Assertion `__null != text' failed");
}

TEST_F(JsonSerializerDeathTest, OutputFileThatCannotBeOpenedEndsTheProcess) {
  EXPECT_DEATH(
      JsonSerializer("/tmp/missing/response"),
      "JsonSerializer\\.cpp:[0-9]+: Kelp::JsonSerializer::JsonSerializer\\(.*\\): Assertion `__null != m_fpo' failed");
}

TEST_F(JsonSerializerTest, BytesBecomeBase64) {
  m_serializer.beginArray("b");
  for (const char* text : {"M", "Ma", "Man", "Many", "\xFB\xFF\xFE"}) {
    putBytes("", text);
  }
  EXPECT_EQ(written(), R"({"b":["TQ==","TWE=","TWFu","TWFueQ==","+\/\/+"]})");
}

TEST_F(JsonSerializerTest, NoBytesBecomeAnEmptyText) {
  unsigned int size = 0;
  char byte = 'x';
  EXPECT_EQ(m_serializer.putBinaryData("b", &byte, size), CommonReturnCode_Ok);
  EXPECT_EQ(written(), R"({"b":""})");
}

TEST_F(JsonSerializerTest, BytesThatAreMissingAreRefused) {
  unsigned int size = 3;
  LogCapture log;
  EXPECT_EQ(m_serializer.putBinaryData("b", static_cast<void*>(nullptr), size), CommonReturnCode_InvalidParameter);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kBareError});
  EXPECT_EQ(written(), "{}");
}

TEST_F(JsonSerializerTest, FileBecomesBase64) {
  for (const size_t size : {0U, 1U, 2U, 3U, 4096U, 100001U}) {
    writeText(kInput, bytesOf(size));
    EXPECT_EQ(m_serializer.putBinaryData(std::to_string(size), kInput), CommonReturnCode_Ok);
  }
  written();
  const Json root = parsedResponse();
  for (const size_t size : {0U, 1U, 2U, 3U, 4096U, 100001U}) {
    json_object* value = nullptr;
    ASSERT_TRUE(json_object_object_get_ex(root.get(), std::to_string(size).c_str(), &value));
    std::string text = json_object_get_string(value);
    EXPECT_EQ(text.size(), (size + 2) / 3 * 4);
    unsigned int decodedSize = 0;
    ASSERT_EQ(Kelp::Base64EncDec().getBase64(&text[0], static_cast<unsigned int>(text.size()), decodedSize),
              CommonReturnCode_Ok);
    EXPECT_EQ(text.substr(0, decodedSize), bytesOf(size));
  }
}

TEST_F(JsonSerializerTest, InputFileStaysAndIsClosed) {
  writeText(kInput, "Man");
  EXPECT_EQ(m_serializer.putBinaryData("b", kInput), CommonReturnCode_Ok);
  EXPECT_EQ(readText(kInput), "Man");
  EXPECT_EQ(descriptorOf(kInput), -1);
}

TEST_F(JsonSerializerTest, MissingFileIsAnIoError) {
  LogCapture log;
  EXPECT_EQ(m_serializer.putBinaryData("b", kInput), CommonReturnCode_IoError);
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0].file, "FileOperator.cpp");
  EXPECT_EQ(written(), "{}");
}

TEST_F(JsonSerializerTest, DirectoryOpensWellAndReadsBadly) {
  ASSERT_EQ(mkdir(kInput, 0755), 0);
  for (const char* name : {"a", "b", "c"}) {  // gives the directory a size
    ASSERT_EQ(mkdir((std::string(kInput) + "/" + name).c_str(), 0755), 0);
  }
  LogCapture log;
  EXPECT_EQ(m_serializer.putBinaryData("b", kInput), CommonReturnCode_IoError);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kBareError});
  EXPECT_EQ(written(), "{}");
}

TEST_F(JsonSerializerTest, ReadErrorIsAnIoError) {
  writeText(kInput, "Man");
  const CallFault fault(Call::Read, EIO);
  LogCapture log;
  EXPECT_EQ(m_serializer.putBinaryData("b", kInput), CommonReturnCode_IoError);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kBareError});
  EXPECT_EQ(written(), "{}");
}

TEST_F(JsonSerializerTest, FileShorterThanItsSizeIsAnIoError) {
  const char* const path = "/sys/kernel/mm/transparent_hugepage/enabled";
  struct stat status;
  if (stat(path, &status) != 0 || status.st_size < 4096) {
    GTEST_SKIP() << "no file here says that it is larger than it is";
  }
  LogCapture log;
  EXPECT_EQ(m_serializer.putBinaryData("b", path), CommonReturnCode_IoError);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kBareError});
}

TEST_F(JsonSerializerTest, FileTooLargeForItsTextsLengthIsAnIoError) {
  writeText(kInput, "Man");
  for (const long long size : {0x40000000LL, 0x100000003LL}) {
    ASSERT_EQ(truncate(kInput, size), 0);
    LogCapture log;
    EXPECT_EQ(m_serializer.putBinaryData("b", kInput), CommonReturnCode_IoError);
    EXPECT_EQ(log.lines(), std::vector<LogLine>{kBareError});
  }
  EXPECT_EQ(written(), "{}");
}

TEST_F(JsonSerializerTest, NoMemoryForTheFileIsAnIoError) {
  writeText(kInput, "Man");
  const CallFault fault(Call::Malloc, ENOMEM);
  LogCapture log;
  EXPECT_EQ(m_serializer.putBinaryData("b", kInput), CommonReturnCode_IoError);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kBareError});
  EXPECT_EQ(written(), "{}");
}

TEST_F(JsonSerializerTest, FileThatCannotBeEncodedIsAnInvalidParameter) {
  writeText(kInput, "Man");
  const CallFault fault(Call::Malloc, ENOMEM, 1);
  LogCapture log;
  EXPECT_EQ(m_serializer.putBinaryData("b", kInput), CommonReturnCode_InvalidParameter);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kBareError});
  EXPECT_EQ(written(), "{}");
}

TEST_F(JsonSerializerTest, OutputFileIsEmptyUntilTheResponseIsWrittenAtOnce) {
  putText("a", std::string(100000, 'x'));
  EXPECT_EQ(readText(kResponse), "");
  const int calls = callCount(Call::Fputs);
  EXPECT_EQ(written().size(), 100008U);
  EXPECT_EQ(callCount(Call::Fputs), calls + 1);
}

TEST_F(JsonSerializerTest, FullDiskLeavesAnErrorLineAndAnEmptyFile) {
  putText("a", std::string(100000, 'x'));
  const LogCapture log;
  {
    const KelpTest::FullDisk disk(5000);
    EXPECT_EQ(m_serializer.doSerialize(), CommonReturnCode_Ok);
  }
  EXPECT_EQ(log.lines(), std::vector<LogLine>{errorLine("JsonSerializer.cpp", 0, "doSerialize", "###ERROR###\n")});
  EXPECT_TRUE(KelpTest::exists(kResponse));
  EXPECT_EQ(readText(kResponse), "");
}

TEST_F(JsonSerializerTest, FailedCloseLeavesAnErrorLineAndAnEmptyFile) {
  const LogCapture log;
  const CallFault fault(Call::Fclose, EIO);
  EXPECT_EQ(written(), "");
  EXPECT_EQ(log.lines(), std::vector<LogLine>{errorLine("JsonSerializer.cpp", 0, "doSerialize", "###ERROR###\n")});
}

TEST_F(JsonSerializerTest, OutputFileIsCloseOnExecAndClosedOnceWritten) {
  const int fd = descriptorOf(kResponse);
  ASSERT_NE(fd, -1);
  EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
  written();
  EXPECT_EQ(descriptorOf(kResponse), -1);
}

TEST_F(JsonSerializerTest, ContainersStillOpenAreWrittenAsTheyStand) {
  m_serializer.beginArray("list");
  m_serializer.beginStruct("");
  putText("a", "1");
  EXPECT_EQ(written(), R"({"list":[{"a":"1"}]})");
}

TEST_F(JsonSerializerTest, ValuesPutAfterwardsDoNotReachTheFile) {
  putText("a", "1");
  written();
  putText("b", "2");
  m_serializer.beginArray("c");
  putText("", "3");
  EXPECT_EQ(m_serializer.endArray(), CommonReturnCode_Ok);
  EXPECT_EQ(m_serializer.endStruct(), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(readText(kResponse), R"({"a":"1"})");
}

TEST_F(JsonSerializerTest, ValuesPutAfterwardsIntoAnOpenArrayDoNoHarm) {
  m_serializer.beginArray("list");
  written();
  putText("a", "1");
  m_serializer.beginStruct("");
  EXPECT_EQ(m_serializer.endStruct(), CommonReturnCode_Ok);
  EXPECT_EQ(readText(kResponse), R"({"list":[]})");
}

TEST(JsonSerializerLifeTest, OldContentIsGoneFromTheStart) {
  writeText(kResponse, "an older and longer response");
  const JsonSerializer serializer(kResponse);
  EXPECT_EQ(readText(kResponse), "");
}

TEST(JsonSerializerLifeTest, FileIsCreatedAsTheUmaskAllows) {
  unlink(kResponse);
  const mode_t mask = umask(027);
  const JsonSerializer serializer(kResponse);
  umask(mask);
  EXPECT_EQ(KelpTest::modeOf(kResponse), 0640U);
}

TEST(JsonSerializerLifeTest, ALinkInThePlaceOfTheFileIsFollowed) {
  unlink(kResponse);
  writeText(kInput, "what the link points to");
  ASSERT_EQ(symlink(kInput, kResponse), 0);
  EXPECT_EQ(JsonSerializer(kResponse).doSerialize(), CommonReturnCode_Ok);
  EXPECT_EQ(readText(kInput), "{}");
  unlink(kResponse);
}

TEST(JsonSerializerLifeTest, ResponseThatIsNeverWrittenLeavesAnEmptyClosedFile) {
  {
    JsonSerializer serializer(kResponse);
    serializer.putStringData("a", "1");
    serializer.beginArray("list");
  }
  EXPECT_EQ(access(kResponse, F_OK), 0);
  EXPECT_EQ(readText(kResponse), "");
  EXPECT_EQ(descriptorOf(kResponse), -1);
}

TEST(JsonSerializerEscapeTest, EightCharactersGetABackslash) {
  EXPECT_EQ(JsonSerializer::escapeString("\"\\/\b\f\n\r\t"), "\\\"\\\\\\/\\b\\f\\n\\r\\t");
  EXPECT_EQ(JsonSerializer::escapeString("say \"a/b\"\n"), "say \\\"a\\/b\\\"\\n");
  EXPECT_EQ(JsonSerializer::escapeString(""), "");
}

TEST(JsonSerializerEscapeTest, AllOtherBytesStay) {
  const std::string special = "\"\\/\b\f\n\r\t";
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    if (special.find(text) == std::string::npos) {
      EXPECT_EQ(JsonSerializer::escapeString(text), text) << byte;
    }
  }
}

}  // namespace
