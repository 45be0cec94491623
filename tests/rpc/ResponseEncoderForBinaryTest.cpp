#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <type_traits>

#include "ApplicationInfoList.h"
#include "BinarySerializer.h"
#include "ResponseEncoderForBinary.h"
#include "support/ObjectType.h"
#include "support/Vectors.h"

namespace {

using Kelp::ApplicationInfoList_t;
using Kelp::BinarySerializer;
using Kelp::CommonReturnCode_InvalidExecId;
using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;
using Kelp::ResponseEncoderForBinary;

constexpr char kResponse[] = "/tmp/response";

static_assert(std::is_base_of_v<Kelp::ResponseEncoder, ResponseEncoderForBinary>, "stands where that is expected");

// The response file after one operation.
std::string written(const std::function<CommonReturnCode_t(ResponseEncoderForBinary&)>& put) {
  unlink(kResponse);
  BinarySerializer serializer(kResponse);
  ResponseEncoderForBinary encoder(serializer);
  EXPECT_EQ(put(encoder), CommonReturnCode_Ok);
  std::ifstream file(kResponse, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

TEST(ResponseEncoderForBinaryTest, IsRegisteredWithItsType) {
  BinarySerializer serializer(kResponse);
  EXPECT_EQ(KelpTest::objectTypeOf(ResponseEncoderForBinary(serializer)), 36);
}

TEST(ResponseEncoderForBinaryTest, CodesGoToTheSerializer) {
  const std::string code = KelpTest::vectorOf("responses.txt", "fault 5");
  EXPECT_EQ(written([](auto& encoder) { return encoder.putParamForInitAllData(CommonReturnCode_InvalidExecId); }),
            code);
  EXPECT_EQ(written([](auto& encoder) { return encoder.putParamForUpdateApplication(CommonReturnCode_InvalidExecId); }),
            code);
}

TEST(ResponseEncoderForBinaryTest, StartAndStopAreAZero) {
  const std::string zero = KelpTest::vectorOf("responses.txt", "zero");
  EXPECT_EQ(written([](auto& encoder) { return encoder.putParamForStartApp(); }), zero);
  EXPECT_EQ(written([](auto& encoder) { return encoder.putParamForStopApp(); }), zero);
}

TEST(ResponseEncoderForBinaryTest, ListGoesToTheSerializer) {
  const std::string response = written([](auto& encoder) {
    return encoder.putParamForGetAppList(1, {{7, 2, "1.0", {}, {}, {}}});
  });
  EXPECT_EQ(response, KelpTest::vectorOf("responses.txt", "list of one"));
}

TEST(ResponseEncoderForBinaryTest, SerializersResultIsTheResult) {
  BinarySerializer serializer("/tmp/missing/response");
  ResponseEncoderForBinary encoder(serializer);
  EXPECT_EQ(encoder.putParamForInitAllData(CommonReturnCode_Ok), CommonReturnCode_IoError);
  EXPECT_EQ(encoder.putParamForUpdateApplication(CommonReturnCode_Ok), CommonReturnCode_IoError);
  EXPECT_EQ(encoder.putParamForStartApp(), CommonReturnCode_IoError);
  EXPECT_EQ(encoder.putParamForStopApp(), CommonReturnCode_IoError);
  EXPECT_EQ(encoder.putParamForGetAppList(0, {}), CommonReturnCode_IoError);
}

}  // namespace
