#include <gtest/gtest.h>

#include <memory>

#include "IpcAddressApp.h"
#include "ipc/IpcTestSupport.h"

using Kelp::IpcAddress;
using Kelp::IpcAddressApp;
using Kelp::IpcSrcSpecificId;
using Kelp::IpcSrcSpecificId_App;

TEST(IpcAddressAppTest, NamesItsFifoAfterBothIdentifiersInOrder) {
  EXPECT_EQ("/tmp/Kelp/fifo00000003_00000001", IpcAddressApp(3, 1).getFifoFilePath());
}

TEST(IpcAddressAppTest, NegativeIdentifiersShowTheirBits) {
  EXPECT_EQ("/tmp/Kelp/fifoFFFFFFFF_80000000", IpcAddressApp(-1, INT32_MIN).getFifoFilePath());
}

TEST(IpcAddressAppTest, CarriesBothIdentifiersInOrder) {
  const IpcSrcSpecificId id = IpcAddressApp(7, -9).getSrcSpecificId();
  EXPECT_EQ(7U, id.words[0]);
  EXPECT_EQ(static_cast<uint32_t>(-9), id.words[1]);
  EXPECT_EQ(7, id.app.firstId);
  EXPECT_EQ(-9, id.app.secondId);
}

TEST(IpcAddressAppTest, IsBuiltFromItsIdentityOnTheWire) {
  const IpcAddressApp address(IpcSrcSpecificId_App{3, 1});
  EXPECT_EQ(Kelp::IpcAddressType_App, address.getIpcAddressType());
  EXPECT_EQ("/tmp/Kelp/fifo00000003_00000001", address.getFifoFilePath());
}

TEST(IpcAddressAppTest, CloneIsAnEqualObjectOfItsOwn) {
  const IpcAddressApp address(3, 1);
  const std::unique_ptr<IpcAddress> clone(address.clone());
  EXPECT_NE(&address, clone.get());
  EXPECT_NE(nullptr, dynamic_cast<IpcAddressApp*>(clone.get()));
  EXPECT_EQ(Kelp::IpcAddressType_App, clone->getIpcAddressType());
  EXPECT_EQ(address.getFifoFilePath(), clone->getFifoFilePath());
}

TEST(IpcAddressAppTest, CopiesAndClonesAreRegisteredUnderTheirType) {
  const IpcAddressApp address(3, 1);
  const IpcAddressApp copy(address);
  const std::unique_ptr<IpcAddress> clone(address.clone());
  EXPECT_EQ(19, KelpTest::objectTypeOf(address));
  EXPECT_EQ(19, KelpTest::objectTypeOf(copy));
  EXPECT_EQ(19, KelpTest::objectTypeOf(*clone));
}

TEST(IpcAddressAppTest, AssignmentTakesTheIdentityOver) {
  const IpcAddressApp other(5, 6);
  IpcAddressApp address(3, 1);
  address = other;
  EXPECT_EQ("/tmp/Kelp/fifo00000005_00000006", address.getFifoFilePath());
}
