// Several processes write into one loop's FIFO as fast as it takes their messages.

#include <gtest/gtest.h>
#include <sched.h>

#include <memory>
#include <random>

#include "IpcAddressApp.h"
#include "IpcAddressCore.h"
#include "IpcEventReceiver.h"
#include "IpcSender.h"
#include "ipc/IpcTestSupport.h"
#include "ipc/LoopFixture.h"

using Kelp::IpcDataRequest;

namespace {

constexpr int kSenders = 4;
constexpr unsigned kMessages = 10000;
constexpr int kMaxPayload = 4064;

// The same sizes and bytes on both sides: every word follows from the sender and the message's number.
class Payloads {
 public:
  explicit Payloads(int sender) : m_random(static_cast<unsigned>(sender)) {}

  std::string next() {
    std::string text(std::uniform_int_distribution<size_t>(0, kMaxPayload)(m_random), '\0');
    uint32_t word = static_cast<uint32_t>(m_random());
    for (char& byte : text) {
      word = word * 1664525 + 1013904223;
      byte = static_cast<char>(word >> 24);
    }
    return text;
  }

 private:
  std::mt19937 m_random;
};

int sendAll(int sender) {
  Kelp::IpcSender ipcSender(Kelp::IpcAddressCore().getFifoFilePath());
  Payloads payloads(sender);
  for (unsigned number = 0; number < kMessages; ++number) {
    std::string text = payloads.next();
    Kelp::IpcHeader header{};
    header.kind = Kelp::IpcMessageKind_Request;
    header.sessionId = number;
    Kelp::IpcAddressApp(sender, 0).fillInSourceAddress(header);
    header.dataSize = static_cast<int>(text.size());
    while (ipcSender.send(header, KelpTest::payload<Kelp::IpcData>(text)) != Kelp::CommonReturnCode_Ok) {
      sched_yield();
    }
  }
  return 0;
}

// Compares every message with the one that is due from its sender; ends the loop after the last one.
class Checker : public Kelp::IpcEventReceiver::RequestHandler {
 public:
  Checker() {
    for (int sender = 0; sender < kSenders; ++sender) {
      m_due.push_back({Payloads(sender), 0});
    }
  }

  unsigned received = 0;
  unsigned wrong = 0;

  void handleRequest(Kelp::IpcAddress& srcIpcAddress, IpcDataRequest& data, int dataSize,
                     Kelp::SessionId_t sessionId) override {
    const int sender = srcIpcAddress.getSrcSpecificId().app.firstId;
    Due& due = m_due.at(static_cast<size_t>(sender));
    const bool isDue = sessionId == due.number && KelpTest::textOf(data, dataSize) == due.payloads.next();
    wrong += isDue ? 0 : 1;
    ++due.number;
    if (++received == kSenders * kMessages) {
      Kelp::EventLooper::getRunningLooper()->exitEventLoop();
    }
  }

 private:
  struct Due {
    Payloads payloads;
    unsigned number;
  };

  std::vector<Due> m_due;
};

using ManySendersTest = KelpTest::LoopFixture;

}  // namespace

TEST_F(ManySendersTest, AllMessagesArriveOnceWholeAndInTheirSendersOrder) {
  Kelp::IpcEventReceiver receiver((Kelp::IpcAddressCore()));
  Checker checker;
  receiver.setRequestHandler(Kelp::IpcAddressType_App, checker);
  looper().addEventReceiver(receiver);
  std::vector<std::unique_ptr<KelpTest::ChildProcess>> senders;
  senders.reserve(kSenders);
  for (int sender = 0; sender < kSenders; ++sender) {
    senders.push_back(std::make_unique<KelpTest::ChildProcess>([sender] { return sendAll(sender); }));
  }
  looper().runEventLoop();
  for (const auto& sender : senders) {
    EXPECT_EQ(0, sender->wait());
  }
  EXPECT_EQ(kSenders * kMessages, checker.received);
  EXPECT_EQ(0U, checker.wrong);
  looper().removeEventReceiver(receiver);
}
