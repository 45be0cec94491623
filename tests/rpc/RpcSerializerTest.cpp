#include <gtest/gtest.h>

#include <memory>

#include "RpcSerializer.h"
#include "support/VirtualSlot.h"
#include "tests/rpc/RecordingSerializer.h"

namespace {

using Kelp::CommonReturnCode_t;
using Kelp::KelpObject;
using Kelp::RpcSerializer;
using KelpTest::RecordingSerializer;
using KelpTest::slotOf;

using PutInt = CommonReturnCode_t (RpcSerializer::*)(const std::string&, int&);
using PutLong = CommonReturnCode_t (RpcSerializer::*)(const std::string&, unsigned long long&);
using PutFile = CommonReturnCode_t (RpcSerializer::*)(const std::string&, const std::string&);
using PutBlock = CommonReturnCode_t (RpcSerializer::*)(const std::string&, void*, unsigned int&);

TEST(RpcSerializerTest, OperationsStandInTheirOrderBehindTheDestructor) {
  EXPECT_EQ(slotOf(&RpcSerializer::beginArray), 2U);
  EXPECT_EQ(slotOf(&RpcSerializer::endArray), 3U);
  EXPECT_EQ(slotOf(&RpcSerializer::beginStruct), 4U);
  EXPECT_EQ(slotOf(&RpcSerializer::endStruct), 5U);
  EXPECT_EQ(slotOf(static_cast<PutInt>(&RpcSerializer::putDecimal)), 6U);
  EXPECT_EQ(slotOf(static_cast<PutLong>(&RpcSerializer::putDecimal)), 7U);
  EXPECT_EQ(slotOf(static_cast<PutInt>(&RpcSerializer::putHexadecimal)), 8U);
  EXPECT_EQ(slotOf(static_cast<PutLong>(&RpcSerializer::putHexadecimal)), 9U);
  EXPECT_EQ(slotOf(&RpcSerializer::putStringData), 10U);
  EXPECT_EQ(slotOf(static_cast<PutFile>(&RpcSerializer::putBinaryData)), 11U);
  EXPECT_EQ(slotOf(static_cast<PutBlock>(&RpcSerializer::putBinaryData)), 12U);
  EXPECT_EQ(slotOf(&RpcSerializer::doSerialize), 13U);
}

TEST(RpcSerializerTest, KeepsItsOwnCopyOfThePath) {
  std::string path = "/tmp/response";
  const RecordingSerializer serializer(path);
  path = "/tmp/other";
  EXPECT_EQ(serializer.getOutputFile(), "/tmp/response");
  serializer.getOutputFile() += "changed";
  EXPECT_EQ(serializer.getOutputFile(), "/tmp/response");
}

TEST(RpcSerializerTest, IsAnObjectOfTheRegistry) {
  const KelpObject* address = nullptr;
  {
    const std::unique_ptr<RpcSerializer> serializer = std::make_unique<RecordingSerializer>("/tmp/response");
    address = serializer.get();
    EXPECT_TRUE(KelpObject::isObjectExist(address));
  }
  EXPECT_FALSE(KelpObject::isObjectExist(address));
}

}  // namespace
