#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <thread>

#include "IpcAddressApi.h"
#include "IpcAddressApp.h"
#include "IpcAddressCore.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "foundation/ObjectRegistry.h"
#include "ipc/IpcTestSupport.h"
#include "ipc/LoopFixture.h"
#include "ipc/WireMessage.h"
#include "support/CallFaults.h"
#include "support/FileStatus.h"
#include "support/LogCapture.h"

using Kelp::IpcAddressApi;
using Kelp::IpcAddressApp;
using Kelp::IpcAddressCore;
using Kelp::IpcDataOneWayRequest;
using Kelp::IpcDataRequest;
using Kelp::IpcDataResponse;
using Kelp::IpcEventReceiver;
using Kelp::IpcEventSender;
using Kelp::SessionId_t;
using KelpTest::LogCapture;
using KelpTest::makeMessage;
using KelpTest::payload;
using KelpTest::RequestRecorder;
using KelpTest::ResponseRecorder;
using KelpTest::WireMessage;

namespace {

constexpr char kCorePath[] = "/tmp/Kelp/fifocore";

// The peer is the core, whose FIFO is read here byte by byte.
class IpcEventSenderTest : public testing::Test {
 protected:
  IpcEventSenderTest() : m_core(KelpTest::openFifoForReading(kCorePath)), m_receiver(IpcAddressApi(1234)) {}
  ~IpcEventSenderTest() override { closeCore(); }

  void closeCore() {
    if (m_core != -1) {
      close(m_core);
      m_core = -1;
    }
  }
  int core() const { return m_core; }
  IpcEventReceiver& receiver() { return m_receiver; }

  WireMessage sent() const {
    WireMessage message = {};
    EXPECT_TRUE(KelpTest::readMessage(m_core, message));
    EXPECT_EQ(0, KelpTest::bytesWaiting(m_core));
    return message;
  }

  static Kelp::CommonReturnCode_t sendRequest(IpcEventSender& sender, ResponseRecorder& handler, SessionId_t& sessionId,
                                              int timeout) {
    std::string text = "ask";
    return sender.sendRequest(payload<IpcDataRequest>(text), 3, handler, sessionId, timeout);
  }

 private:
  int m_core;
  IpcEventReceiver m_receiver;
};

// Both ends in one process and on one loop: the core, which answers, and an API client.
class IpcConversationTest : public KelpTest::LoopFixture {
 protected:
  IpcConversationTest() : m_core(IpcAddressCore()), m_api(IpcAddressApi(1234)) {
    looper().addEventReceiver(m_core);
    looper().addEventReceiver(m_api);
    m_core.setRequestHandler(Kelp::IpcAddressType_Api, m_requests);
    m_sender = std::make_unique<IpcEventSender>(IpcAddressCore(), m_api);
  }
  ~IpcConversationTest() override {
    looper().removeEventReceiver(m_core);
    looper().removeEventReceiver(m_api);
  }

  void ask(const std::string& text, int timeout) {
    std::string request = text;
    EXPECT_EQ(Kelp::CommonReturnCode_Ok,
              m_sender->sendRequest(payload<IpcDataRequest>(request), static_cast<int>(request.size()), m_responses,
                                    m_sessionId, timeout));
  }

  static void answer(Kelp::IpcAddress& dst, SessionId_t sessionId, std::string text) {
    IpcEventSender sender(dst, IpcAddressCore());
    EXPECT_EQ(Kelp::CommonReturnCode_Ok,
              sender.sendResponse(sessionId, payload<IpcDataResponse>(text), static_cast<int>(text.size())));
  }

  IpcEventReceiver m_core;
  IpcEventReceiver m_api;
  RequestRecorder m_requests;
  ResponseRecorder m_responses;
  std::unique_ptr<IpcEventSender> m_sender;
  SessionId_t m_sessionId = Kelp::INVALID_SESSION_ID;
};

}  // namespace

TEST_F(IpcEventSenderTest, IsRegisteredUnderItsType) {
  const IpcEventSender sender(IpcAddressCore(), IpcAddressApp(3, 1));
  EXPECT_EQ(26, KelpTest::objectTypeOf(sender));
  const IpcEventSender requester(IpcAddressCore(), receiver());
  EXPECT_EQ(26, KelpTest::objectTypeOf(requester));
}

TEST_F(IpcEventSenderTest, ARequestCarriesAFreshSessionAndTheReceiversAddress) {
  IpcEventSender sender(IpcAddressCore(), receiver());
  ResponseRecorder handler;
  SessionId_t sessionId = Kelp::INVALID_SESSION_ID;
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, sendRequest(sender, handler, sessionId, -1));
  EXPECT_EQ(1U, sessionId);
  EXPECT_EQ(makeMessage(1, 1, 1, 1234, 0, "ask"), sent());
}

TEST_F(IpcEventSenderTest, EverySendIsOneWrite) {
  IpcEventSender sender(IpcAddressCore(), receiver());
  ResponseRecorder handler;
  SessionId_t sessionId = Kelp::INVALID_SESSION_ID;
  std::string text(4064, 'x');
  const int writes = KelpTest::callCount(KelpTest::Call::Write);
  sender.sendRequest(payload<IpcDataRequest>(text), 4064, handler, sessionId, -1);
  sender.sendResponse(7, payload<IpcDataResponse>(text), 4064);
  sender.sendResponseError(7);
  sender.sendOneWayRequest(payload<IpcDataOneWayRequest>(text), 4064);
  EXPECT_EQ(4, KelpTest::callCount(KelpTest::Call::Write) - writes);
}

TEST_F(IpcEventSenderTest, AFailedWriteIsReportedByEverySend) {
  IpcEventSender sender(IpcAddressCore(), receiver());
  ResponseRecorder handler;
  SessionId_t sessionId = 5;
  std::string text = "lost";
  closeCore();
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, sendRequest(sender, handler, sessionId, -1));
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, sender.sendResponse(7, payload<IpcDataResponse>(text), 4));
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, sender.sendResponseError(7));
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, sender.sendOneWayRequest(payload<IpcDataOneWayRequest>(text), 4));
}

TEST_F(IpcEventSenderTest, ARequestThatWasNotSentHasNoSessionAndItsTimeOutIsNotLookedAt) {
  closeCore();
  IpcEventSender sender(IpcAddressCore(), receiver());
  ResponseRecorder handler;
  for (const int timeout : {-1, 100, 0, -2}) {
    SessionId_t sessionId = 5;
    EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, sendRequest(sender, handler, sessionId, timeout));
    EXPECT_EQ(0xFFFFFFFF, sessionId);
  }
  for (SessionId_t sessionId = 1; sessionId <= 4; ++sessionId) {
    receiver().addResponseHandler(sessionId, handler, -1);  // would end the process were the session awaited
  }
}

TEST_F(IpcEventSenderTest, ARequestThatWasNotSentUsesUpASessionId) {
  closeCore();
  IpcEventSender sender(IpcAddressCore(), receiver());
  ResponseRecorder handler;
  SessionId_t sessionId = 5;
  sendRequest(sender, handler, sessionId, -1);
  EXPECT_EQ(2U, IpcEventSender::createSessionId());
}

TEST_F(IpcEventSenderTest, ARequestWithoutAReceiverEndsTheProcess) {
  IpcEventSender sender(IpcAddressCore(), IpcAddressApp(3, 1));
  ResponseRecorder handler;
  SessionId_t sessionId = 5;
  EXPECT_DEATH(sendRequest(sender, handler, sessionId, -1),
               "IpcEventSender.cpp:[0-9]+: .*IpcEventSender::sendRequest\\(.*\\): Assertion "
               "`m_pIpcEventReceiver != __null' failed");
}

TEST_F(IpcEventSenderTest, ATimeOutOfNothingEndsTheProcessOnceTheRequestIsSent) {
  IpcEventSender sender(IpcAddressCore(), receiver());
  ResponseRecorder handler;
  SessionId_t sessionId = 5;
  EXPECT_DEATH(sendRequest(sender, handler, sessionId, 0), "Assertion `timeout == -1 \\|\\| timeout > 0' failed");
  EXPECT_EQ(35, KelpTest::bytesWaiting(core()));
}

TEST_F(IpcEventSenderTest, KeepsCopiesOfTheAddresses) {
  auto dst = std::make_unique<IpcAddressCore>();
  auto src = std::make_unique<IpcAddressApp>(3, 1);
  IpcEventSender sender(*dst, *src);
  dst.reset();
  src.reset();
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, sender.sendResponseError(7));
  EXPECT_EQ(makeMessage(3, 7, 0, 3, 1, ""), sent());
}

TEST_F(IpcEventSenderTest, LeavesThePeersFifoAndNothingElseBehind) {
  const size_t before = KelpTest::descriptorsOf(kCorePath).size();
  { const IpcEventSender sender(IpcAddressCore(), IpcAddressApp(3, 1)); }
  EXPECT_TRUE(KelpTest::exists(kCorePath));
  EXPECT_EQ(before, KelpTest::descriptorsOf(kCorePath).size());
}

TEST_F(IpcEventSenderTest, APendingSessionOutlivesItsSender) {
  auto sender = std::make_unique<IpcEventSender>(IpcAddressCore(), receiver());
  ResponseRecorder handler;
  SessionId_t sessionId = 5;
  sendRequest(*sender, handler, sessionId, -1);
  sender.reset();
  ASSERT_TRUE(KelpTest::writeMessage(receiver().getFd(), makeMessage(2, sessionId, 2, 0, 0, "answer")));
  receiver().receiveAndExecuteEvent();
  EXPECT_EQ(1U, handler.told.size());
}

TEST_F(IpcEventSenderTest, AHandlerThatDiesAbandonsItsRequest) {
  IpcEventSender sender(IpcAddressCore(), receiver());
  auto handler = std::make_unique<ResponseRecorder>();
  SessionId_t sessionId = 5;
  sendRequest(sender, *handler, sessionId, -1);
  const LogCapture log;
  handler.reset();
  ASSERT_TRUE(KelpTest::writeMessage(receiver().getFd(), makeMessage(2, sessionId, 2, 0, 0, "answer")));
  receiver().receiveAndExecuteEvent();
  ASSERT_EQ(2U, log.lines().size());
  EXPECT_EQ("removeResponseHandler", log.lines()[0].function);
  EXPECT_EQ("receive response already timed out(?): sessionId=" + std::to_string(sessionId) + "\n",
            log.lines()[1].message);
}

TEST_F(IpcEventSenderTest, AHandlerMayOutliveTheReceiver) {
  auto other = std::make_unique<IpcEventReceiver>(IpcAddressApi(99));
  ResponseRecorder handler;
  {
    IpcEventSender sender(IpcAddressCore(), *other);
    SessionId_t sessionId = 5;
    sendRequest(sender, handler, sessionId, -1);
  }
  other.reset();
}  // the handler dies here

TEST(IpcEventSenderSessionTest, TheFirstSessionOfAProcessIsOne) {
  EXPECT_EQ(1U, IpcEventSender::createSessionId());
  EXPECT_EQ(2U, IpcEventSender::createSessionId());
}

TEST(IpcEventSenderSessionTest, ThreadsNeverShareASession) {
  constexpr size_t kThreads = 4;
  constexpr size_t kSessions = 10000;
  std::vector<std::vector<SessionId_t>> ids(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (std::vector<SessionId_t>& own : ids) {
    threads.emplace_back([&own] {
      for (size_t i = 0; i < kSessions; ++i) {
        own.push_back(IpcEventSender::createSessionId());
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::vector<SessionId_t> all;
  for (const std::vector<SessionId_t>& own : ids) {
    all.insert(all.end(), own.begin(), own.end());
  }
  std::sort(all.begin(), all.end());
  EXPECT_EQ(all.end(), std::adjacent_find(all.begin(), all.end()));
  EXPECT_EQ(1U, all.front());
  EXPECT_EQ(kThreads * kSessions, all.back());
}

TEST_F(IpcConversationTest, ARequestIsAnswered) {
  m_requests.then = [](Kelp::IpcAddress& src, SessionId_t sessionId) { answer(src, sessionId, "answer"); };
  m_responses.then = [](SessionId_t /*sessionId*/) { endLoop(); };
  runLoop([this] { ask("question", 60000); });
  ASSERT_EQ(1U, m_requests.told.size());
  EXPECT_EQ("question", m_requests.told[0].text);
  ASSERT_EQ(1U, m_responses.told.size());
  EXPECT_EQ("answer", m_responses.told[0].text);
  EXPECT_EQ(m_sessionId, m_responses.told[0].sessionId);
  EXPECT_EQ(kCorePath, m_responses.told[0].fifoPath);
}

TEST_F(IpcConversationTest, AHandlerMaySendAgainOnItsResponse) {
  constexpr unsigned kRounds = 100;
  m_requests.then = [](Kelp::IpcAddress& src, SessionId_t sessionId) { answer(src, sessionId, "answer"); };
  m_responses.then = [this](SessionId_t /*sessionId*/) {
    if (m_responses.told.size() == kRounds) {
      endLoop();
    } else {
      ask("again", 60000);
    }
  };
  const LogCapture log;
  runLoop([this] { ask("question", 60000); });
  EXPECT_EQ(kRounds, m_responses.told.size());
  EXPECT_TRUE(m_responses.timedOut.empty());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(IpcConversationTest, AnswersMayComeInAnyOrder) {
  std::vector<SessionId_t> asked;
  m_requests.then = [&asked](Kelp::IpcAddress& src, SessionId_t sessionId) {
    asked.push_back(sessionId);
    if (asked.size() == 3) {
      answer(src, asked[2], "third");
      answer(src, asked[0], "first");
      answer(src, asked[1], "second");
    }
  };
  m_responses.then = [this](SessionId_t /*sessionId*/) {
    if (m_responses.told.size() == 3) {
      endLoop();
    }
  };
  runLoop([this] {
    ask("a", 60000);
    ask("b", -1);
    ask("c", 60000);
  });
  ASSERT_EQ(3U, m_responses.told.size());
  EXPECT_EQ("third", m_responses.told[0].text);
  EXPECT_EQ(asked[2], m_responses.told[0].sessionId);
  EXPECT_EQ("first", m_responses.told[1].text);
  EXPECT_EQ("second", m_responses.told[2].text);
}

TEST_F(IpcConversationTest, ARequestThatIsNotAnsweredTimesOutAndALateAnswerIsDropped) {
  std::unique_ptr<Kelp::IpcAddress> client;
  m_requests.then = [&client](Kelp::IpcAddress& src, SessionId_t /*sessionId*/) { client.reset(src.clone()); };
  m_responses.then = [&](SessionId_t sessionId) {
    answer(*client, sessionId, "too late");
    callAfter(20, endLoop);
  };
  const LogCapture log;
  runLoop([this] { ask("question", 100); });
  EXPECT_EQ(std::vector<SessionId_t>{m_sessionId}, m_responses.timedOut);
  EXPECT_TRUE(m_responses.told.empty());
  ASSERT_EQ(3U, log.lines().size());
  EXPECT_EQ("receive response already timed out(?): sessionId=" + std::to_string(m_sessionId) + "\n",
            log.lines()[2].message);
}
