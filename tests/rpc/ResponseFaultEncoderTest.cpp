#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "JsonSerializer.h"
#include "ResponseFaultEncoder.h"
#include "support/LogCapture.h"
#include "tests/rpc/RecordingSerializer.h"

namespace {

using Kelp::CommonReturnCode_InvalidExecId;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;
using Kelp::JsonSerializer;
using Kelp::KelpObject;
using Kelp::KelpReturnCode;
using Kelp::ResponseFaultEncoder;
using KelpTest::LogCapture;
using KelpTest::RecordingSerializer;

TEST(ResponseFaultEncoderTest, IsRegisteredWithItsType) {
  RecordingSerializer serializer("/tmp/response");
  const ResponseFaultEncoder encoder(serializer);
  LogCapture log;
  EXPECT_TRUE(KelpObject::isObjectExist(&encoder));
  ASSERT_EQ(log.traces().size(), 1U);
  EXPECT_NE(log.traces()[0].message.find("(ObjectType=37)"), std::string::npos);
}

TEST(ResponseFaultEncoderTest, WritesCodeAndTextOfAFault) {
  JsonSerializer serializer("/tmp/response");
  ResponseFaultEncoder encoder(serializer);
  CommonReturnCode_t code = CommonReturnCode_InvalidExecId;
  EXPECT_EQ(encoder.putFaultCode("faultCode", code), CommonReturnCode_Ok);
  EXPECT_EQ(encoder.putFaultString("faultString", KelpReturnCode::getReturnCodeString(code)), CommonReturnCode_Ok);
  EXPECT_EQ(encoder.getSerializer().doSerialize(), CommonReturnCode_Ok);
  std::string text;
  std::getline(std::ifstream("/tmp/response"), text);
  EXPECT_EQ(text, R"({"faultCode":"5","faultString":"Invalid Exec ID"})");
}

}  // namespace
