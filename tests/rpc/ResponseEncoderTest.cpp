#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "JsonSerializer.h"
#include "ResponseEncoder.h"
#include "support/LogCapture.h"
#include "tests/rpc/RecordingSerializer.h"

namespace {

using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_Ok;
using Kelp::JsonSerializer;
using Kelp::KelpObject;
using Kelp::ResponseEncoder;
using KelpTest::LogCapture;
using KelpTest::RecordingSerializer;

TEST(ResponseEncoderTest, IsRegisteredWithItsType) {
  RecordingSerializer serializer("/tmp/response");
  const ResponseEncoder encoder(serializer);
  LogCapture log;
  EXPECT_TRUE(KelpObject::isObjectExist(&encoder));
  ASSERT_EQ(log.traces().size(), 1U);
  EXPECT_NE(log.traces()[0].message.find("(ObjectType=35)"), std::string::npos);
}

TEST(ResponseEncoderTest, WritesTheValuesOfAResponse) {
  JsonSerializer serializer("/tmp/response");
  ResponseEncoder encoder(serializer);
  int execId = 3;
  int installId = 26;
  EXPECT_EQ(encoder.putExecId("execId", execId), CommonReturnCode_Ok);
  EXPECT_EQ(encoder.putInstallId("installId", installId), CommonReturnCode_Ok);
  EXPECT_EQ(encoder.getSerializer().doSerialize(), CommonReturnCode_Ok);
  std::string text;
  std::getline(std::ifstream("/tmp/response"), text);
  EXPECT_EQ(text, R"({"execId":"3","installId":"0000001A"})");
}

TEST(ResponseEncoderTest, FileOfAResponseIsReadBeforeItIsRemoved) {
  std::ofstream("/tmp/appData") << "Man";
  JsonSerializer serializer("/tmp/response");
  ResponseEncoder encoder(serializer);
  EXPECT_EQ(encoder.putAppData("appData", "/tmp/appData"), CommonReturnCode_Ok);
  EXPECT_EQ(encoder.putAppData("again", "/tmp/appData"), CommonReturnCode_IoError);
  EXPECT_EQ(serializer.doSerialize(), CommonReturnCode_Ok);
  std::string text;
  std::getline(std::ifstream("/tmp/response"), text);
  EXPECT_EQ(text, R"({"appData":"TWFu"})");
}

}  // namespace
