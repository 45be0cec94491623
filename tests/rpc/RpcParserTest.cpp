#include <gtest/gtest.h>

#include <memory>

#include "RpcParser.h"
#include "support/VirtualSlot.h"
#include "tests/rpc/RecordingParser.h"

namespace {

using Kelp::CommonReturnCode_t;
using Kelp::KelpObject;
using Kelp::RpcParser;
using KelpTest::RecordingParser;
using KelpTest::slotOf;

using GetFile = CommonReturnCode_t (RpcParser::*)(const std::string&, const std::string&);
using GetBlock = CommonReturnCode_t (RpcParser::*)(const std::string&, void*&, unsigned int&);

TEST(RpcParserTest, GettersStandInTheirOrderBehindTheDestructor) {
  EXPECT_EQ(slotOf(&RpcParser::getDecimal), 2U);
  EXPECT_EQ(slotOf(&RpcParser::getHexadecimal), 3U);
  EXPECT_EQ(slotOf(&RpcParser::getStringData), 4U);
  EXPECT_EQ(slotOf(static_cast<GetFile>(&RpcParser::getBinaryData)), 5U);
  EXPECT_EQ(slotOf(static_cast<GetBlock>(&RpcParser::getBinaryData)), 6U);
}

TEST(RpcParserTest, IsAnObjectOfTheRegistry) {
  const KelpObject* address = nullptr;
  {
    const std::unique_ptr<RpcParser> parser = std::make_unique<RecordingParser>();
    address = parser.get();
    EXPECT_TRUE(KelpObject::isObjectExist(address));
  }
  EXPECT_FALSE(KelpObject::isObjectExist(address));
}

}  // namespace
