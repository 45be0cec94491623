#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <type_traits>

#include "BinarySerializer.h"
#include "ResponseFaultEncoderForBinary.h"
#include "support/ObjectType.h"
#include "support/Vectors.h"

namespace {

using Kelp::BinarySerializer;
using Kelp::CommonReturnCode_InvalidExecId;
using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_Ok;
using Kelp::ResponseFaultEncoderForBinary;

constexpr char kResponse[] = "/tmp/response";

static_assert(std::is_base_of_v<Kelp::ResponseFaultEncoder, ResponseFaultEncoderForBinary>,
              "stands where that is expected");

TEST(ResponseFaultEncoderForBinaryTest, IsRegisteredWithItsType) {
  BinarySerializer serializer(kResponse);
  EXPECT_EQ(KelpTest::objectTypeOf(ResponseFaultEncoderForBinary(serializer)), 38);
}

TEST(ResponseFaultEncoderForBinaryTest, CodeGoesToTheSerializer) {
  BinarySerializer serializer(kResponse);
  EXPECT_EQ(ResponseFaultEncoderForBinary(serializer).putParamForReturnCodeError(CommonReturnCode_InvalidExecId),
            CommonReturnCode_Ok);
  std::ifstream file(kResponse, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), KelpTest::vectorOf("responses.txt", "fault 5"));
}

TEST(ResponseFaultEncoderForBinaryTest, SerializersResultIsTheResult) {
  BinarySerializer serializer("/tmp/missing/response");
  EXPECT_EQ(ResponseFaultEncoderForBinary(serializer).putParamForReturnCodeError(CommonReturnCode_Ok),
            CommonReturnCode_IoError);
}

}  // namespace
