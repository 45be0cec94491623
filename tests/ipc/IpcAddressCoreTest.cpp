#include <gtest/gtest.h>

#include <memory>

#include "IpcAddressCore.h"
#include "ipc/IpcTestSupport.h"

using Kelp::IpcAddress;
using Kelp::IpcAddressCore;
using Kelp::IpcSrcSpecificId;

TEST(IpcAddressCoreTest, NamesTheCoresFifo) {
  EXPECT_EQ("/tmp/Kelp/fifocore", IpcAddressCore().getFifoFilePath());
}

TEST(IpcAddressCoreTest, CarriesTheMarkerAndAZero) {
  const IpcSrcSpecificId id = IpcAddressCore().getSrcSpecificId();
  EXPECT_EQ(0xCCCCCCCC, id.words[0]);
  EXPECT_EQ(0U, id.words[1]);
}

TEST(IpcAddressCoreTest, CloneIsAnEqualObjectOfItsOwn) {
  const IpcAddressCore address;
  const std::unique_ptr<IpcAddress> clone(address.clone());
  EXPECT_NE(&address, clone.get());
  EXPECT_NE(nullptr, dynamic_cast<IpcAddressCore*>(clone.get()));
  EXPECT_EQ(Kelp::IpcAddressType_Core, clone->getIpcAddressType());
}

TEST(IpcAddressCoreTest, CopiesAndClonesAreRegisteredUnderTheirType) {
  const IpcAddressCore address;
  const IpcAddressCore copy(address);
  const std::unique_ptr<IpcAddress> clone(address.clone());
  EXPECT_EQ(20, KelpTest::objectTypeOf(address));
  EXPECT_EQ(20, KelpTest::objectTypeOf(copy));
  EXPECT_EQ(20, KelpTest::objectTypeOf(*clone));
}

TEST(IpcAddressCoreTest, AssignmentKeepsTheObjectRegistered) {
  const IpcAddressCore other;
  IpcAddressCore address;
  address = other;
  EXPECT_EQ(20, KelpTest::objectTypeOf(address));
  EXPECT_EQ("/tmp/Kelp/fifocore", address.getFifoFilePath());
}
