#include <gtest/gtest.h>
#include <string.h>

#include <memory>

#include "IpcAddress.h"
#include "IpcAddressApi.h"
#include "IpcAddressApp.h"
#include "IpcAddressCore.h"
#include "IpcHeader.h"
#include "ipc/IpcTestSupport.h"

using Kelp::IpcAddress;
using Kelp::IpcAddressApi;
using Kelp::IpcAddressApp;
using Kelp::IpcAddressCore;
using Kelp::IpcHeader;

namespace {

struct Words {
  uint32_t word[8];
};

// The header with `address` filled in over eight words of 0xA5A5A5A5, as it would stand on the wire.
Words headerWords(const IpcAddress& address) {
  static_assert(sizeof(IpcHeader) == sizeof(Words), "eight words without padding");
  IpcHeader header;
  memset(static_cast<void*>(&header), 0xA5, sizeof header);
  address.fillInSourceAddress(header);
  Words words;
  memcpy(&words, &header, sizeof words);
  return words;
}

IpcHeader headerFrom(const IpcAddress& address) {
  IpcHeader header{};
  address.fillInSourceAddress(header);
  return header;
}

IpcHeader headerOfType(int type) {
  IpcHeader header{};
  header.srcAddressType = static_cast<Kelp::IpcAddressType>(type);
  return header;
}

}  // namespace

TEST(IpcAddressTest, AnApplicationFillsInItsTypeAndBothIdentifiers) {
  const Words words = headerWords(IpcAddressApp(3, 1));
  EXPECT_EQ(0U, words.word[2]);
  EXPECT_EQ(3U, words.word[3]);
  EXPECT_EQ(1U, words.word[4]);
}

TEST(IpcAddressTest, AnApiClientFillsInItsTypeAndProcess) {
  const Words words = headerWords(IpcAddressApi(1234));
  EXPECT_EQ(1U, words.word[2]);
  EXPECT_EQ(1234U, words.word[3]);
  EXPECT_EQ(0U, words.word[4]);
}

TEST(IpcAddressTest, TheCoreFillsInItsTypeAndMarker) {
  const Words words = headerWords(IpcAddressCore());
  EXPECT_EQ(2U, words.word[2]);
  EXPECT_EQ(0xCCCCCCCC, words.word[3]);
  EXPECT_EQ(0U, words.word[4]);
}

TEST(IpcAddressTest, FillingInLeavesTheRestOfTheHeader) {
  const Words words = headerWords(IpcAddressApp(3, 1));
  for (const size_t other : {0U, 1U, 5U, 6U, 7U}) {
    EXPECT_EQ(0xA5A5A5A5, words.word[other]) << "word " << other;
  }
}

TEST(IpcAddressTest, RebuildsAnApplicationsAddress) {
  IpcHeader header = headerFrom(IpcAddressApp(3, 1));
  const std::unique_ptr<IpcAddress> address(IpcAddress::createIpcAddress(header));
  EXPECT_EQ(19, KelpTest::objectTypeOf(*address));
  EXPECT_EQ(Kelp::IpcAddressType_App, address->getIpcAddressType());
  EXPECT_EQ("/tmp/Kelp/fifo00000003_00000001", address->getFifoFilePath());
}

TEST(IpcAddressTest, RebuildsAnApiClientsAddress) {
  IpcHeader header = headerFrom(IpcAddressApi(1234));
  const std::unique_ptr<IpcAddress> address(IpcAddress::createIpcAddress(header));
  EXPECT_EQ(18, KelpTest::objectTypeOf(*address));
  EXPECT_EQ(Kelp::IpcAddressType_Api, address->getIpcAddressType());
  EXPECT_EQ("/tmp/Kelp/fifo000004D2", address->getFifoFilePath());
}

TEST(IpcAddressTest, RebuildsTheCoresAddressWhateverTheMarker) {
  IpcHeader header = headerOfType(Kelp::IpcAddressType_Core);
  const std::unique_ptr<IpcAddress> address(IpcAddress::createIpcAddress(header));
  EXPECT_EQ(20, KelpTest::objectTypeOf(*address));
  EXPECT_EQ(Kelp::IpcAddressType_Core, address->getIpcAddressType());
  EXPECT_EQ("/tmp/Kelp/fifocore", address->getFifoFilePath());
}

TEST(IpcAddressTest, AnUnknownSourceTypeEndsTheProcess) {
  for (const int type : {3, 4, -1, INT32_MAX}) {
    IpcHeader header = headerOfType(type);
    EXPECT_DEATH(IpcAddress::createIpcAddress(header),
                 "IpcAddress.cpp:[0-9]+: static Kelp::IpcAddress ?\\* ?Kelp::IpcAddress::createIpcAddress"
                 "\\((Kelp::)?IpcHeader ?&\\): Assertion `0' failed")
        << type;
  }
}
