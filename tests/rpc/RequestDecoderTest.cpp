#include <gtest/gtest.h>

#include <fstream>
#include <vector>

#include "QueryStringParser.h"
#include "RequestDecoder.h"
#include "support/LogCapture.h"
#include "tests/rpc/RecordingParser.h"

namespace {

using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_Ok;
using Kelp::KelpObject;
using Kelp::QueryStringParser;
using Kelp::RequestDecoder;
using KelpTest::LogCapture;
using KelpTest::RecordingParser;

TEST(RequestDecoderTest, IsRegisteredWithItsType) {
  RecordingParser parser;
  const RequestDecoder decoder(parser);
  LogCapture log;
  EXPECT_TRUE(KelpObject::isObjectExist(&decoder));
  ASSERT_EQ(log.traces().size(), 1U);
  EXPECT_NE(log.traces()[0].message.find("(ObjectType=32)"), std::string::npos);
}

TEST(RequestDecoderTest, MethodNameIsTheTextOfItsFixedMember) {
  RecordingParser parser;
  RequestDecoder decoder(parser);
  std::string api;
  EXPECT_EQ(decoder.getApi(api), CommonReturnCode_Ok);
  EXPECT_EQ(api, "text of methodName");
  EXPECT_EQ(parser.calls, std::vector<std::string>{"getStringData methodName"});
}

TEST(RequestDecoderTest, ResultIsTheParsers) {
  RecordingParser parser;
  parser.result = CommonReturnCode_IoError;
  RequestDecoder decoder(parser);
  std::string api;
  EXPECT_EQ(decoder.getApi(api), CommonReturnCode_IoError);
}

TEST(RequestDecoderTest, AnyMethodNameIsTaken) {
  std::ofstream("/tmp/request") << "execId=1&methodName=no%20such%20method";
  QueryStringParser parser("/tmp/request");
  RequestDecoder decoder(parser);
  std::string api;
  EXPECT_EQ(decoder.getApi(api), CommonReturnCode_Ok);
  EXPECT_EQ(api, "no such method");
}

TEST(RequestDecoderTest, RequestWithoutMethodNameIsAnInvalidProtocol) {
  std::ofstream("/tmp/request") << "execId=1";
  QueryStringParser parser("/tmp/request");
  RequestDecoder decoder(parser);
  std::string api;
  EXPECT_EQ(decoder.getApi(api), CommonReturnCode_InvalidProtocol);
}

}  // namespace
