// How often a message asks for memory. A program of its own, because it replaces the allocator.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <functional>
#include <string>

#include "IpcAddressApi.h"
#include "IpcAddressApp.h"
#include "IpcAddressCore.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "IpcSender.h"
#include "ipc/IpcTestSupport.h"
#include "ipc/WireMessage.h"
#include "support/AllocationCount.h"

using Kelp::IpcAddressApi;
using Kelp::IpcAddressApp;
using Kelp::IpcAddressCore;
using Kelp::IpcEventReceiver;
using Kelp::IpcEventSender;
using KelpTest::payload;

namespace {

constexpr int kPayloadSizes[] = {0, 1, 64, 4064};
constexpr int kMaxPayloadSize = 4064;
constexpr std::size_t kPayload = 1;
constexpr std::size_t kSourceAddress = 1;

class Handler : public IpcEventReceiver::RequestHandler,
                public IpcEventReceiver::OneWayRequestHandler,
                public IpcEventSender::ResponseHandler {
 public:
  int calls = 0;

  void handleRequest(Kelp::IpcAddress& /*source*/, Kelp::IpcDataRequest& /*data*/, int /*dataSize*/,
                     Kelp::SessionId_t /*sessionId*/) override {
    calls++;
  }
  void handleOneWayRequest(Kelp::IpcAddress& /*source*/, Kelp::IpcDataOneWayRequest& /*data*/,
                           int /*dataSize*/) override {
    calls++;
  }
  void handleResponse(Kelp::SessionId_t /*sessionId*/, Kelp::IpcAddress& /*source*/, Kelp::IpcDataResponse& /*data*/,
                      int /*dataSize*/) override {
    calls++;
  }
};

std::size_t blocksFor(const std::function<void()>& work) {
  const std::size_t before = KelpTest::allocations().blocks;
  work();
  return KelpTest::allocations().blocks - before;
}

// A receiver and a sender in one process. The receiver is called as its loop would call it.
class MessageAllocationTest : public testing::Test {
 protected:
  MessageAllocationTest() : m_receiver(IpcAddressCore()), m_text(kMaxPayloadSize, 'x') {
    for (const Kelp::IpcAddressType type :
         {Kelp::IpcAddressType_App, Kelp::IpcAddressType_Api, Kelp::IpcAddressType_Core}) {
      m_receiver.setRequestHandler(type, m_handler);
      m_receiver.setOneWayRequestHandler(type, m_handler);
    }
  }

  IpcEventReceiver& receiver() { return m_receiver; }
  Handler& handler() { return m_handler; }

  template <typename Data>
  Data& data() {
    return payload<Data>(m_text);
  }

  std::size_t blocksForReceiving() {
    const int calls = m_handler.calls;
    const std::size_t blocks = blocksFor([this] { m_receiver.receiveAndExecuteEvent(); });
    EXPECT_EQ(calls + 1, m_handler.calls);
    return blocks;
  }

 private:
  IpcEventReceiver m_receiver;
  Handler m_handler;
  std::string m_text;
};

// Compilers leave out blocks that nobody uses.
void* used(void* block) {
  static void* volatile s_block;
  s_block = block;
  return s_block;
}

std::size_t payloadBlocks(int payloadSize) {
  return payloadSize > 0 ? kPayload : 0;
}

}  // namespace

TEST_F(MessageAllocationTest, TheCountIsOfAllThatIsAskedFor) {
  EXPECT_EQ(1U, blocksFor([] { delete static_cast<int*>(used(new int(1))); }));
  EXPECT_EQ(2U, blocksFor([] { free(used(realloc(used(malloc(8)), 100))); }));
  EXPECT_EQ(1U, blocksFor([] { free(used(calloc(1, 1))); }));
}

TEST_F(MessageAllocationTest, SendingAllocatesNothing) {
  Kelp::IpcSender sender(IpcAddressCore().getFifoFilePath());
  for (const int size : kPayloadSizes) {
    Kelp::IpcHeader header{};
    header.dataSize = size;
    Kelp::CommonReturnCode_t result = Kelp::CommonReturnCode_InternalError;
    EXPECT_EQ(0U, blocksFor([&] { result = sender.send(header, data<Kelp::IpcData>()); })) << size;
    EXPECT_EQ(Kelp::CommonReturnCode_Ok, result);
  }
}

TEST_F(MessageAllocationTest, SendingOneWayRequestsAndResponsesAllocatesNothing) {
  IpcEventSender sender(IpcAddressCore(), IpcAddressApp(1, 2));
  for (const int size : kPayloadSizes) {
    EXPECT_EQ(0U, blocksFor([&] { sender.sendOneWayRequest(data<Kelp::IpcDataOneWayRequest>(), size); })) << size;
    EXPECT_EQ(0U, blocksFor([&] { sender.sendResponse(1, data<Kelp::IpcDataResponse>(), size); })) << size;
  }
  EXPECT_EQ(0U, blocksFor([&] { sender.sendResponseError(1); }));
}

// The registry of live objects has a place for it.
TEST_F(MessageAllocationTest, AReceivedMessageAllocatesItsPayloadAndItsSourceAddressAlone) {
  IpcEventSender fromApplication(IpcAddressCore(), IpcAddressApp(1, 2));
  IpcEventSender fromApiClient(IpcAddressCore(), IpcAddressApi(3));
  const IpcAddressCore core;
  IpcEventSender fromCore(core, core);
  for (IpcEventSender* sender : {&fromApplication, &fromApiClient, &fromCore}) {
    for (const int size : kPayloadSizes) {
      ASSERT_EQ(Kelp::CommonReturnCode_Ok, sender->sendOneWayRequest(data<Kelp::IpcDataOneWayRequest>(), size));
      EXPECT_EQ(payloadBlocks(size) + kSourceAddress, blocksForReceiving()) << size;
    }
  }
}

TEST_F(MessageAllocationTest, ARequestAllocatesItsSessionAndItsResponseNoMore) {
  IpcEventSender sender(IpcAddressCore(), receiver());
  for (const int size : kPayloadSizes) {
    Kelp::SessionId_t sessionId = 0;
    EXPECT_EQ(1U, blocksFor([&] { sender.sendRequest(data<Kelp::IpcDataRequest>(), size, handler(), sessionId, -1); }));
    EXPECT_EQ(payloadBlocks(size) + kSourceAddress, blocksForReceiving()) << size;
    ASSERT_EQ(Kelp::CommonReturnCode_Ok, sender.sendResponse(sessionId, data<Kelp::IpcDataResponse>(), size));
    EXPECT_EQ(payloadBlocks(size) + kSourceAddress, blocksForReceiving()) << size;
  }
}
