#include <gtest/gtest.h>
#include <stdlib.h>

#include <vector>

#include "QueryStringParser.h"
#include "RpcDecoder.h"
#include "SysFunc.h"
#include "support/TextFile.h"
#include "tests/rpc/RecordingParser.h"

namespace {

using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_NotEnoughMemory;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;
using Kelp::KelpObject;
using Kelp::QueryStringParser;
using Kelp::RpcDecoder;
using Kelp::SysFunc;
using KelpTest::readText;
using KelpTest::RecordingParser;
using KelpTest::writeText;

using Calls = std::vector<std::string>;
using GetInt = CommonReturnCode_t (RpcDecoder::*)(const std::string&, int&);
using GetText = CommonReturnCode_t (RpcDecoder::*)(const std::string&, std::string&);
using GetFile = CommonReturnCode_t (RpcDecoder::*)(const std::string&, const std::string&);

const GetInt kDecimals[] = {&RpcDecoder::getFuncId,      &RpcDecoder::getExecId,    &RpcDecoder::getProcessId,
                            &RpcDecoder::getAppDataType, &RpcDecoder::getResetCode, &RpcDecoder::getCallback};
const GetText kTexts[] = {&RpcDecoder::getArgString, &RpcDecoder::getPrefName, &RpcDecoder::getPrefValue,
                          &RpcDecoder::getPrefType, &RpcDecoder::getRestorePrefs};
const GetFile kFiles[] = {&RpcDecoder::getAppPackage, &RpcDecoder::getAppData};

class RpcDecoderTest : public testing::Test {
 protected:
  RecordingParser m_parser;
  RpcDecoder m_decoder{m_parser};
};

TEST_F(RpcDecoderTest, GivesItsParser) {
  EXPECT_EQ(&m_decoder.getParser(), &m_parser);
}

TEST_F(RpcDecoderTest, LeavesTheParserAliveAndUnasked) {
  { RpcDecoder decoder(m_parser); }
  EXPECT_TRUE(KelpObject::isObjectExist(&m_parser));
  EXPECT_EQ(m_parser.calls, Calls{});
}

TEST_F(RpcDecoderTest, InstallIdIsHexadecimal) {
  int value = 0;
  EXPECT_EQ(m_decoder.getInstallId("name", value), CommonReturnCode_Ok);
  EXPECT_EQ(value, RecordingParser::kNumber);
  EXPECT_EQ(m_parser.calls, Calls{"getHexadecimal name"});
}

TEST_F(RpcDecoderTest, OtherNumbersAreDecimal) {
  for (const GetInt get : kDecimals) {
    int value = 0;
    m_parser.calls.clear();
    EXPECT_EQ((m_decoder.*get)("name", value), CommonReturnCode_Ok);
    EXPECT_EQ(value, RecordingParser::kNumber);
    EXPECT_EQ(m_parser.calls, Calls{"getDecimal name"});
  }
}

TEST_F(RpcDecoderTest, TextsAreTaken) {
  for (const GetText get : kTexts) {
    std::string value;
    m_parser.calls.clear();
    EXPECT_EQ((m_decoder.*get)("name", value), CommonReturnCode_Ok);
    EXPECT_EQ(value, "text of name");
    EXPECT_EQ(m_parser.calls, Calls{"getStringData name"});
  }
}

TEST_F(RpcDecoderTest, PackagesAndDataGoToAFile) {
  for (const GetFile get : kFiles) {
    m_parser.calls.clear();
    EXPECT_EQ((m_decoder.*get)("name", "/tmp/file"), CommonReturnCode_Ok);
    EXPECT_EQ(m_parser.calls, Calls{"getBinaryData(file) name /tmp/file"});
  }
}

TEST_F(RpcDecoderTest, DataGoesToMemoryThatTheCallerReleases) {
  void* data = nullptr;
  unsigned int size = 0;
  EXPECT_EQ(m_decoder.getAppData("name", data, size), CommonReturnCode_Ok);
  EXPECT_EQ(std::string(static_cast<const char*>(data), size), "block");
  EXPECT_EQ(m_parser.calls, Calls{"getBinaryData(memory) name"});
  SysFunc::kelpFree(data);
}

TEST_F(RpcDecoderTest, EveryResultIsTheParsers) {
  m_parser.result = CommonReturnCode_NotEnoughMemory;
  int number = 0;
  EXPECT_EQ(m_decoder.getInstallId("", number), CommonReturnCode_NotEnoughMemory);
  for (const GetInt get : kDecimals) {
    EXPECT_EQ((m_decoder.*get)("", number), CommonReturnCode_NotEnoughMemory);
  }
  for (const GetText get : kTexts) {
    std::string text;
    EXPECT_EQ((m_decoder.*get)("", text), CommonReturnCode_NotEnoughMemory);
  }
  for (const GetFile get : kFiles) {
    EXPECT_EQ((m_decoder.*get)("", ""), CommonReturnCode_NotEnoughMemory);
  }
  void* data = nullptr;
  unsigned int size = 0;
  EXPECT_EQ(m_decoder.getAppData("", data, size), CommonReturnCode_NotEnoughMemory);
}

TEST(RpcDecoderQueryStringTest, RepresentationIsFixedPerValue) {
  writeText("/tmp/request", "installId=0000001A&execId=26&prefName=a+b&data=TWFu");
  QueryStringParser parser("/tmp/request");
  RpcDecoder decoder(parser);
  int installId = 0;
  EXPECT_EQ(decoder.getInstallId("installId", installId), CommonReturnCode_Ok);
  EXPECT_EQ(installId, 26);
  int execId = 0;
  EXPECT_EQ(decoder.getExecId("execId", execId), CommonReturnCode_Ok);
  EXPECT_EQ(execId, 26);
  EXPECT_EQ(decoder.getInstallId("execId", installId), CommonReturnCode_Ok);
  EXPECT_EQ(installId, 0x26);
  std::string name;
  EXPECT_EQ(decoder.getPrefName("prefName", name), CommonReturnCode_Ok);
  EXPECT_EQ(name, "a b");
  EXPECT_EQ(decoder.getPrefName("missing", name), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(decoder.getAppData("data", "/tmp/data"), CommonReturnCode_Ok);
  EXPECT_EQ(readText("/tmp/data"), "Man");
}

}  // namespace
