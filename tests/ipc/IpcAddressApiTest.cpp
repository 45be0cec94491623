#include <gtest/gtest.h>

#include <memory>

#include "IpcAddressApi.h"
#include "ipc/IpcTestSupport.h"
#include "support/VirtualSlot.h"

using Kelp::IpcAddress;
using Kelp::IpcAddressApi;
using Kelp::IpcSrcSpecificId;
using Kelp::IpcSrcSpecificId_Api;

TEST(IpcAddressApiTest, KeepsTheOrderOfItsOperations) {
  EXPECT_EQ(2U, KelpTest::slotOf(&IpcAddress::getFifoFilePath));
  EXPECT_EQ(3U, KelpTest::slotOf(&IpcAddress::clone));
  EXPECT_EQ(4U, KelpTest::slotOf(&IpcAddress::getSrcSpecificId));
  EXPECT_EQ(5U, KelpTest::slotOf(&IpcAddressApi::getFifoFilePathForCallback));
}

TEST(IpcAddressApiTest, NamesItsFifoAfterTheProcess) {
  EXPECT_EQ("/tmp/Kelp/fifo000004D2", IpcAddressApi(1234).getFifoFilePath());
}

TEST(IpcAddressApiTest, NamesItsSecondFifoForCallbacks) {
  EXPECT_EQ("/tmp/Kelp/fifo000004D2N", IpcAddressApi(1234).getFifoFilePathForCallback());
}

TEST(IpcAddressApiTest, CarriesTheProcessIdAndAZero) {
  const IpcSrcSpecificId id = IpcAddressApi(1234).getSrcSpecificId();
  EXPECT_EQ(1234U, id.words[0]);
  EXPECT_EQ(0U, id.words[1]);
  EXPECT_EQ(1234, id.api.pid);
}

TEST(IpcAddressApiTest, IsBuiltFromItsIdentityOnTheWire) {
  const IpcAddressApi address(IpcSrcSpecificId_Api{1234});
  EXPECT_EQ(Kelp::IpcAddressType_Api, address.getIpcAddressType());
  EXPECT_EQ(1234, address.getPid());
}

TEST(IpcAddressApiTest, CloneIsAnEqualObjectOfItsOwn) {
  const IpcAddressApi address(1234);
  const std::unique_ptr<IpcAddress> clone(address.clone());
  EXPECT_NE(&address, clone.get());
  ASSERT_NE(nullptr, dynamic_cast<IpcAddressApi*>(clone.get()));
  EXPECT_EQ(1234, dynamic_cast<IpcAddressApi&>(*clone).getPid());
  EXPECT_EQ(Kelp::IpcAddressType_Api, clone->getIpcAddressType());
}

TEST(IpcAddressApiTest, CopiesAndClonesAreRegisteredUnderTheirType) {
  const IpcAddressApi address(1234);
  const IpcAddressApi copy(address);
  const std::unique_ptr<IpcAddress> clone(address.clone());
  EXPECT_EQ(18, KelpTest::objectTypeOf(address));
  EXPECT_EQ(18, KelpTest::objectTypeOf(copy));
  EXPECT_EQ(18, KelpTest::objectTypeOf(*clone));
}

TEST(IpcAddressApiTest, AssignmentTakesTheIdentityOver) {
  const IpcAddressApi other(99);
  IpcAddressApi address(1234);
  address = other;
  EXPECT_EQ(99, address.getPid());
}
