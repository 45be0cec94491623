// A program of its own, because it replaces the allocator of all objects.

#include <gtest/gtest.h>

#include "IpcAddressCore.h"
#include "IpcEventReceiver.h"
#include "ipc/IpcTestSupport.h"
#include "ipc/LoopFixture.h"
#include "ipc/ReplacedAllocator.h"
#include "ipc/WireMessage.h"
#include "support/CallFaults.h"
#include "support/LogCapture.h"

namespace {

class IpcEventReceiverNoMemoryTest : public testing::Test {
 protected:
  IpcEventReceiverNoMemoryTest() : m_receiver(Kelp::IpcAddressCore()) {
    m_receiver.setRequestHandler(Kelp::IpcAddressType_App, m_handler);
  }

  void receive(const std::string& text) {
    ASSERT_TRUE(KelpTest::writeMessage(m_receiver.getFd(), KelpTest::makeMessage(1, 5, 0, 3, 1, text)));
    m_receiver.receiveAndExecuteEvent();
  }

  void receiveWithoutMemory() {
    const KelpTest::NoMemoryForNothrowNew noMemory;
    receive("lost");
  }

  Kelp::IpcEventReceiver m_receiver;
  KelpTest::RequestRecorder m_handler;
};

}  // namespace

TEST_F(IpcEventReceiverNoMemoryTest, AMessageWithoutMemoryForItsSourceAddressIsDropped) {
  const KelpTest::LogCapture log;
  receiveWithoutMemory();
  EXPECT_TRUE(m_handler.told.empty());
  EXPECT_EQ(std::vector<KelpTest::LogLine>{KelpTest::errorLine("IpcEventReceiver.cpp", 0, "receiveAndExecuteEvent",
                                                               "###ERROR###\n")},
            log.lines());
  receive("next");
  ASSERT_EQ(1U, m_handler.told.size());
  EXPECT_EQ("next", m_handler.told[0].text);
}

TEST_F(IpcEventReceiverNoMemoryTest, ItsPayloadIsReleased) {
  const int mallocs = KelpTest::callCount(KelpTest::Call::Malloc);
  const int frees = KelpTest::callCount(KelpTest::Call::Free);
  receiveWithoutMemory();
  EXPECT_EQ(KelpTest::callCount(KelpTest::Call::Malloc) - mallocs, KelpTest::callCount(KelpTest::Call::Free) - frees);
  EXPECT_LT(mallocs, KelpTest::callCount(KelpTest::Call::Malloc));
}
