#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <vector>

#include "RpcEncoder.h"
#include "support/CallFaults.h"
#include "tests/rpc/RecordingSerializer.h"

namespace {

using Kelp::CommonReturnCode_InvalidExecId;
using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;
using Kelp::KelpObject;
using Kelp::RpcEncoder;
using KelpTest::lastSystemCommand;
using KelpTest::RecordingSerializer;

using Calls = std::vector<std::string>;

const char kFile[] = "/tmp/appData";

class RpcEncoderTest : public testing::Test {
 protected:
  RecordingSerializer m_serializer{"/tmp/response"};
  RpcEncoder m_encoder{m_serializer};
};

TEST_F(RpcEncoderTest, GivesItsSerializer) {
  EXPECT_EQ(&m_encoder.getSerializer(), &m_serializer);
}

TEST_F(RpcEncoderTest, LeavesTheSerializerAliveAndUnwritten) {
  { RpcEncoder encoder(m_serializer); }
  EXPECT_TRUE(KelpObject::isObjectExist(&m_serializer));
  EXPECT_EQ(m_serializer.calls, Calls{});
}

TEST_F(RpcEncoderTest, ContainersAreForwarded) {
  EXPECT_EQ(m_encoder.beginArray("list"), CommonReturnCode_Ok);
  EXPECT_EQ(m_encoder.beginStruct("item"), CommonReturnCode_Ok);
  EXPECT_EQ(m_encoder.endStruct(), CommonReturnCode_Ok);
  EXPECT_EQ(m_encoder.endArray(), CommonReturnCode_Ok);
  EXPECT_EQ(m_serializer.calls, (Calls{"beginArray list", "beginStruct item", "endStruct", "endArray"}));
}

using PutInt = CommonReturnCode_t (RpcEncoder::*)(const std::string&, int&);
using PutText = CommonReturnCode_t (RpcEncoder::*)(const std::string&, const std::string&);

TEST_F(RpcEncoderTest, HexadecimalValues) {
  for (const PutInt put : {&RpcEncoder::putInstallId, &RpcEncoder::putHexFuncId}) {
    int value = 26;
    m_serializer.calls.clear();
    EXPECT_EQ((m_encoder.*put)("name", value), CommonReturnCode_Ok);
    EXPECT_EQ(m_serializer.calls, Calls{"putHexadecimal(int) name 26"});
  }
}

TEST_F(RpcEncoderTest, DecimalValues) {
  const PutInt puts[] = {&RpcEncoder::putFuncId,      &RpcEncoder::putAppId,     &RpcEncoder::putExecId,
                         &RpcEncoder::putAppDataType, &RpcEncoder::putProcessId, &RpcEncoder::putLangId,
                         &RpcEncoder::putInteger};
  for (const PutInt put : puts) {
    int value = -26;
    m_serializer.calls.clear();
    EXPECT_EQ((m_encoder.*put)("name", value), CommonReturnCode_Ok);
    EXPECT_EQ(m_serializer.calls, Calls{"putDecimal(int) name -26"});
  }
}

TEST_F(RpcEncoderTest, LargeIntegersKeepTheirWidth) {
  unsigned long long value = 0xFFFFFFFFFFFFFFFFULL;
  EXPECT_EQ(m_encoder.putInteger("name", value), CommonReturnCode_Ok);
  EXPECT_EQ(m_serializer.calls, Calls{"putDecimal(unsigned long long) name 18446744073709551615"});
}

TEST_F(RpcEncoderTest, FaultCodeIsItsNumber) {
  CommonReturnCode_t code = CommonReturnCode_InvalidExecId;
  EXPECT_EQ(m_encoder.putFaultCode("faultCode", code), CommonReturnCode_Ok);
  EXPECT_EQ(m_serializer.calls, Calls{"putDecimal(int) faultCode 5"});
}

TEST_F(RpcEncoderTest, TextValues) {
  for (const PutText put : {&RpcEncoder::putFaultString, &RpcEncoder::putKelpVersion, &RpcEncoder::putAppVersion,
                            &RpcEncoder::putPrefVersion, &RpcEncoder::putString}) {
    m_serializer.calls.clear();
    EXPECT_EQ((m_encoder.*put)("name", "text"), CommonReturnCode_Ok);
    EXPECT_EQ(m_serializer.calls, Calls{"putStringData name text"});
  }
}

TEST_F(RpcEncoderTest, ApplicationDataInMemory) {
  char data[] = "bytes";
  unsigned int size = 5;
  EXPECT_EQ(m_encoder.putAppData("appData", data, size), CommonReturnCode_Ok);
  EXPECT_EQ(m_serializer.calls, Calls{"putBinaryData(memory) appData bytes"});
}

TEST_F(RpcEncoderTest, ApplicationDataInAFileIsRemovedOnceItIsPut) {
  std::ofstream(kFile) << "bytes";
  EXPECT_EQ(m_encoder.putAppData("appData", kFile), CommonReturnCode_Ok);
  EXPECT_EQ(m_serializer.calls, Calls{"putBinaryData(file) appData /tmp/appData present"});
  EXPECT_NE(access(kFile, F_OK), 0);
}

TEST_F(RpcEncoderTest, ApplicationDataInAFileIsRemovedAfterAFailureToo) {
  std::ofstream(kFile) << "bytes";
  m_serializer.result = CommonReturnCode_IoError;
  EXPECT_EQ(m_encoder.putAppData("appData", kFile), CommonReturnCode_IoError);
  EXPECT_NE(access(kFile, F_OK), 0);
}

TEST_F(RpcEncoderTest, ApplicationDataInADirectoryIsRemovedByItsCommand) {
  ASSERT_EQ(mkdir(kFile, 0755), 0);
  EXPECT_EQ(m_encoder.putAppData("appData", kFile), CommonReturnCode_Ok);
  EXPECT_EQ(lastSystemCommand(), "/bin/busybox rm -Rf /tmp/appData");
  EXPECT_NE(access(kFile, F_OK), 0);
}

TEST_F(RpcEncoderTest, FailedRemovalDoesNotChangeTheResult) {
  EXPECT_EQ(m_encoder.putAppData("appData", "/tmp/missing"), CommonReturnCode_Ok);
}

TEST_F(RpcEncoderTest, EveryResultIsTheSerializers) {
  m_serializer.result = CommonReturnCode_InvalidProtocol;
  int number = 1;
  unsigned long long large = 1;
  unsigned int size = 0;
  char data[] = "";
  CommonReturnCode_t code = CommonReturnCode_Ok;
  const PutInt putInteger = &RpcEncoder::putInteger;
  for (const PutInt put : {&RpcEncoder::putInstallId, &RpcEncoder::putHexFuncId, &RpcEncoder::putFuncId,
                           &RpcEncoder::putAppId, &RpcEncoder::putExecId, &RpcEncoder::putAppDataType,
                           &RpcEncoder::putProcessId, &RpcEncoder::putLangId, putInteger}) {
    EXPECT_EQ((m_encoder.*put)("", number), CommonReturnCode_InvalidProtocol);
  }
  const PutText putAppData = &RpcEncoder::putAppData;
  for (const PutText put : {&RpcEncoder::putFaultString, &RpcEncoder::putKelpVersion, &RpcEncoder::putAppVersion,
                            &RpcEncoder::putPrefVersion, &RpcEncoder::putString, putAppData}) {
    EXPECT_EQ((m_encoder.*put)("", "/tmp/missing"), CommonReturnCode_InvalidProtocol);
  }
  EXPECT_EQ(m_encoder.beginArray(""), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(m_encoder.endArray(), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(m_encoder.beginStruct(""), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(m_encoder.endStruct(), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(m_encoder.putInteger("", large), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(m_encoder.putFaultCode("", code), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(m_encoder.putAppData("", data, size), CommonReturnCode_InvalidProtocol);
}

}  // namespace
