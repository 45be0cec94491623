#include <gtest/gtest.h>
#include <stdio.h>

#include <memory>
#include <new>

#include "IpcAddressCore.h"
#include "ResponseDispatcher.h"
#include "ipc/IpcTestSupport.h"
#include "ipc/LoopFixture.h"
#include "support/LogCapture.h"
#include "support/VirtualSlot.h"

using Kelp::IpcDataResponse;
using Kelp::ResponseDispatcher;
using Kelp::SessionId_t;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::ResponseRecorder;
using KelpTest::traceLine;

namespace {

LogLine lateLine(const std::string& sessionId) {
  return traceLine("ResponseDispatcher.cpp", 0, "dispatch",
                   "receive response already timed out(?): sessionId=" + sessionId + "\n");
}

LogLine removedLine(const void* handler) {
  char text[64];
  snprintf(text, sizeof text, "remove ResponseHandler(%p)\n", handler);
  return traceLine("ResponseDispatcher.cpp", 0, "removeResponseHandler", text);
}

LogLine timeoutLine(const std::string& message) {
  return traceLine("ResponseDispatcher.cpp", 0, "notifyCyclicTimer", message);
}

void dispatch(ResponseDispatcher& dispatcher, SessionId_t sessionId, std::string text = "answer") {
  Kelp::IpcAddressCore src;
  dispatcher.dispatch(sessionId, src, KelpTest::payload<IpcDataResponse>(text), static_cast<int>(text.size()));
}

// Without a timer service: nothing here has a time-out.
class ResponseDispatcherTest : public testing::Test {
 protected:
  ResponseDispatcher m_dispatcher;
};

class ResponseDispatcherTimeoutTest : public KelpTest::LoopFixture {
 protected:
  ResponseDispatcher m_dispatcher;
};

class MinimalHandler : public Kelp::IpcEventSender::ResponseHandler {
 public:
  void handleResponse(SessionId_t /*sessionId*/, Kelp::IpcAddress& /*srcIpcAddress*/, IpcDataResponse& /*data*/,
                      int /*dataSize*/) override {}
};

}  // namespace

TEST_F(ResponseDispatcherTest, HandlersKeepTheOrderOfTheirOperations) {
  EXPECT_EQ(2U, KelpTest::slotOf(&Kelp::IpcEventSender::ResponseHandler::handleResponse));
  EXPECT_EQ(3U, KelpTest::slotOf(&Kelp::IpcEventSender::ResponseHandler::handleTimeoutError));
}

TEST_F(ResponseDispatcherTest, IsRegisteredUnderItsType) {
  EXPECT_EQ(25, KelpTest::objectTypeOf(m_dispatcher));
}

TEST_F(ResponseDispatcherTest, AResponseReachesTheHandlerOfItsSession) {
  ResponseRecorder first;
  ResponseRecorder second;
  m_dispatcher.addResponseHandler(7, first, -1);
  m_dispatcher.addResponseHandler(8, second, -1);
  dispatch(m_dispatcher, 8, "answer");
  EXPECT_TRUE(first.told.empty());
  ASSERT_EQ(1U, second.told.size());
  EXPECT_EQ(8U, second.told[0].sessionId);
  EXPECT_EQ("answer", second.told[0].text);
  EXPECT_EQ("/tmp/Kelp/fifocore", second.told[0].fifoPath);
}

TEST_F(ResponseDispatcherTest, ASecondResponseOfASessionIsDropped) {
  ResponseRecorder handler;
  m_dispatcher.addResponseHandler(7, handler, -1);
  dispatch(m_dispatcher, 7);
  const LogCapture log;
  dispatch(m_dispatcher, 7);
  EXPECT_EQ(1U, handler.told.size());
  EXPECT_EQ(std::vector<LogLine>{lateLine("7")}, log.lines());
}

TEST_F(ResponseDispatcherTest, AResponseThatNobodyAwaitsIsDroppedAfterATraceLine) {
  const LogCapture log;
  dispatch(m_dispatcher, 7);
  dispatch(m_dispatcher, 0xFFFFFFFE);
  EXPECT_EQ((std::vector<LogLine>{lateLine("7"), lateLine("-2")}), log.lines());
}

TEST_F(ResponseDispatcherTest, TheSessionIsOverBeforeItsHandlerRuns) {
  ResponseRecorder handler;
  handler.then = [&](SessionId_t sessionId) {
    handler.then = nullptr;
    m_dispatcher.addResponseHandler(sessionId, handler, -1);
  };
  m_dispatcher.addResponseHandler(7, handler, -1);
  dispatch(m_dispatcher, 7);
  dispatch(m_dispatcher, 7);
  EXPECT_EQ(2U, handler.told.size());
}

TEST_F(ResponseDispatcherTest, AHandlerMayDeleteItselfOnItsResponse) {
  auto* const handler = new ResponseRecorder;
  handler->then = [handler](SessionId_t /*sessionId*/) { delete handler; };
  m_dispatcher.addResponseHandler(7, *handler, -1);
  m_dispatcher.addResponseHandler(8, *handler, -1);
  const LogLine removed = removedLine(handler);
  const LogCapture log;
  dispatch(m_dispatcher, 7);
  EXPECT_EQ(std::vector<LogLine>{removed}, log.lines());
}

TEST_F(ResponseDispatcherTest, AHandlerThatDiesEndsAllItsSessionsAndNoOther) {
  auto* const dying = new MinimalHandler;
  ResponseRecorder other;
  m_dispatcher.addResponseHandler(6, *dying, -1);
  m_dispatcher.addResponseHandler(7, other, -1);
  m_dispatcher.addResponseHandler(8, *dying, -1);
  const LogLine removed = removedLine(dying);
  const LogCapture log;
  delete dying;
  EXPECT_EQ((std::vector<LogLine>{removed, removed}), log.lines());
  dispatch(m_dispatcher, 7);
  EXPECT_EQ(1U, other.told.size());
  dispatch(m_dispatcher, 8);
  EXPECT_TRUE(log.contains(lateLine("8")));
}

TEST_F(ResponseDispatcherTest, AHandlerThatNeverWaitedDiesSilently) {
  const LogCapture log;
  { const MinimalHandler handler; }
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ResponseDispatcherTest, AHandlerMayOutliveItsDispatcher) {
  auto dispatcher = std::make_unique<ResponseDispatcher>();
  auto handler = std::make_unique<MinimalHandler>();
  dispatcher->addResponseHandler(7, *handler, -1);
  dispatcher.reset();
  const LogCapture log;
  handler.reset();
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ResponseDispatcherTest, AHandlerLeavesWhatTookItsDispatchersPlaceAlone) {
  alignas(ResponseDispatcher) unsigned char place[sizeof(ResponseDispatcher)];
  auto handler = std::make_unique<MinimalHandler>();
  auto* const dispatcher = new (place) ResponseDispatcher;
  dispatcher->addResponseHandler(7, *handler, -1);
  dispatcher->~ResponseDispatcher();
  auto* const address = new (place) Kelp::IpcAddressCore;
  const LogCapture log;
  handler.reset();
  EXPECT_TRUE(log.lines().empty());
  address->~IpcAddressCore();
}

TEST_F(ResponseDispatcherTest, AHandlerLeavesTheSessionsOfALaterDispatcherAlone) {
  alignas(ResponseDispatcher) unsigned char place[sizeof(ResponseDispatcher)];
  auto handler = std::make_unique<MinimalHandler>();
  auto* dispatcher = new (place) ResponseDispatcher;
  dispatcher->addResponseHandler(7, *handler, -1);
  dispatcher->~ResponseDispatcher();
  dispatcher = new (place) ResponseDispatcher;
  ResponseRecorder other;
  dispatcher->addResponseHandler(7, other, -1);
  handler.reset();
  dispatch(*dispatcher, 7);
  EXPECT_EQ(1U, other.told.size());
  dispatcher->~ResponseDispatcher();
}

TEST_F(ResponseDispatcherTest, ASessionThatIsAwaitedAlreadyEndsTheProcess) {
  MinimalHandler handler;
  m_dispatcher.addResponseHandler(7, handler, -1);
  EXPECT_DEATH(m_dispatcher.addResponseHandler(7, handler, -1),
               "ResponseDispatcher.cpp:[0-9]+: .*ResponseDispatcher::addResponseHandler\\(.*\\): Assertion "
               "`m_sessionInfoMap.find\\( sessionId \\) == m_sessionInfoMap.end\\(\\)' failed");
}

TEST_F(ResponseDispatcherTest, ATimeOutOfNothingEndsTheProcess) {
  MinimalHandler handler;
  for (const int timeout : {0, -2, INT32_MIN}) {
    EXPECT_DEATH(m_dispatcher.addResponseHandler(7, handler, timeout),
                 "ResponseDispatcher.cpp:[0-9]+: .*ResponseDispatcher::addResponseHandler\\(.*\\): Assertion "
                 "`timeout == -1 \\|\\| timeout > 0' failed")
        << timeout;
  }
}

TEST_F(ResponseDispatcherTest, ATimerOfNoSessionEndsTheProcess) {
  EXPECT_DEATH(m_dispatcher.notifyCyclicTimer(1, 1),
               "ResponseDispatcher.cpp:[0-9]+: .*ResponseDispatcher::notifyCyclicTimer\\(.*\\): Assertion `false' "
               "failed");
}

TEST_F(ResponseDispatcherTimeoutTest, TheHandlerIsToldOnceThatNoResponseCame) {
  ResponseRecorder handler;
  const LogCapture log;
  runLoop([&] {
    m_dispatcher.addResponseHandler(6, handler, -1);
    callAfter(60, [&] { EXPECT_TRUE(handler.timedOut.empty()); });  // started first: due first on any machine
    m_dispatcher.addResponseHandler(7, handler, 100);
    callAfter(250, endLoop);
  });
  EXPECT_EQ(std::vector<SessionId_t>{7}, handler.timedOut);
  EXPECT_TRUE(handler.told.empty());
  EXPECT_TRUE(log.errors().empty());  // the one-shot timer ends by itself: cancelling it again would be an error
  ASSERT_EQ(2U, log.traces().size());
  EXPECT_EQ(timeoutLine("ResponseDispatcher session num=1\n"), log.traces()[0]);
  EXPECT_EQ(0U, log.traces()[1].message.find("session timeout: sessionId=7, timerId="));
}

TEST_F(ResponseDispatcherTimeoutTest, TheTimeOutLineNamesTheTimer) {
  ResponseRecorder handler;
  const LogCapture log;
  runLoop([&] {
    const Kelp::TimerId_t before = Kelp::TimerService::getInstance().createTimerId();
    handler.then = [before, &log](SessionId_t /*sessionId*/) {
      EXPECT_TRUE(log.contains(timeoutLine("ResponseDispatcher session num=0\n")));
      EXPECT_TRUE(
          log.contains(timeoutLine("session timeout: sessionId=-2, timerId=" + std::to_string(before + 1) + "\n")));
      endLoop();
    };
    m_dispatcher.addResponseHandler(0xFFFFFFFE, handler, 1);
  });
  EXPECT_EQ(std::vector<SessionId_t>{0xFFFFFFFE}, handler.timedOut);
}

TEST_F(ResponseDispatcherTimeoutTest, ALateResponseReachesNoHandler) {
  ResponseRecorder handler;
  const LogCapture log;
  runLoop([&] {
    handler.then = [](SessionId_t /*sessionId*/) { endLoop(); };
    m_dispatcher.addResponseHandler(7, handler, 1);
  });
  dispatch(m_dispatcher, 7);
  EXPECT_EQ(std::vector<SessionId_t>{7}, handler.timedOut);
  EXPECT_TRUE(handler.told.empty());
  EXPECT_TRUE(log.contains(lateLine("7")));
}

TEST_F(ResponseDispatcherTimeoutTest, AResponseInTimeCancelsTheTimer) {
  ResponseRecorder handler;
  const LogCapture log;
  runLoop([&] {
    m_dispatcher.addResponseHandler(7, handler, 20);
    dispatch(m_dispatcher, 7);
    callAfter(100, endLoop);
  });
  EXPECT_EQ(1U, handler.told.size());
  EXPECT_TRUE(handler.timedOut.empty());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ResponseDispatcherTimeoutTest, AHandlerThatDiesTakesItsTimersAlong) {
  auto handler = std::make_unique<MinimalHandler>();
  const LogCapture log;
  runLoop([&] {
    m_dispatcher.addResponseHandler(7, *handler, 20);
    handler.reset();
    callAfter(100, endLoop);
  });
  ASSERT_EQ(1U, log.lines().size());
  EXPECT_EQ("removeResponseHandler", log.lines()[0].function);
}

TEST_F(ResponseDispatcherTimeoutTest, EachSessionHasATimeOutOfItsOwn) {
  ResponseRecorder handler;
  runLoop([&] {
    m_dispatcher.addResponseHandler(1, handler, 60000);
    m_dispatcher.addResponseHandler(3, handler, 10);  // from here on in the order in which they are due
    m_dispatcher.addResponseHandler(2, handler, 20);
    m_dispatcher.addResponseHandler(4, handler, 30);
    handler.then = [this](SessionId_t sessionId) {
      if (sessionId == 4) {
        dispatch(m_dispatcher, 1);
        endLoop();
      }
    };
  });
  EXPECT_EQ((std::vector<SessionId_t>{3, 2, 4}), handler.timedOut);
  EXPECT_EQ(1U, handler.told.size());
}

TEST_F(ResponseDispatcherTimeoutTest, ATimeOutOfWeeksDoesNotOverflow) {
  ResponseRecorder handler;
  runLoop([&] {
    m_dispatcher.addResponseHandler(7, handler, INT32_MAX);
    callAfter(50, [&] {
      dispatch(m_dispatcher, 7);
      endLoop();
    });
  });
  EXPECT_TRUE(handler.timedOut.empty());
  EXPECT_EQ(1U, handler.told.size());
}

TEST_F(ResponseDispatcherTimeoutTest, AHandlerMayAskAgainWhenItsTimeIsUp) {
  ResponseRecorder handler;
  runLoop([&] {
    handler.then = [&](SessionId_t sessionId) {
      if (sessionId == 8) {
        endLoop();
        return;
      }
      m_dispatcher.addResponseHandler(sessionId + 1, handler, 1);
    };
    m_dispatcher.addResponseHandler(7, handler, 1);
  });
  EXPECT_EQ((std::vector<SessionId_t>{7, 8}), handler.timedOut);
}

TEST_F(ResponseDispatcherTimeoutTest, AHandlerMayDeleteItselfWhenItsTimeIsUp) {
  auto* const handler = new ResponseRecorder;
  const LogLine removed = removedLine(handler);
  const LogCapture log;
  runLoop([&] {
    handler->then = [handler](SessionId_t /*sessionId*/) {
      delete handler;
      endLoop();
    };
    m_dispatcher.addResponseHandler(7, *handler, 1);
    m_dispatcher.addResponseHandler(8, *handler, 60000);
  });
  EXPECT_TRUE(log.contains(removed));
  EXPECT_TRUE(log.errors().empty());
}

TEST_F(ResponseDispatcherTimeoutTest, AHandlerMayDeleteTheDispatcherWhenItsTimeIsUp) {
  auto dispatcher = std::make_unique<ResponseDispatcher>();
  ResponseRecorder handler;
  const LogCapture log;
  runLoop([&] {
    handler.then = [&](SessionId_t /*sessionId*/) {
      dispatcher.reset();
      endLoop();
    };
    dispatcher->addResponseHandler(7, handler, 1);
  });
  EXPECT_EQ(std::vector<SessionId_t>{7}, handler.timedOut);
  EXPECT_TRUE(log.errors().empty());
}

TEST_F(ResponseDispatcherTimeoutTest, AHandlerThatDoesNotCareAboutTimeOutsIsLeftAlone) {
  MinimalHandler handler;
  runLoop([&] {
    m_dispatcher.addResponseHandler(7, handler, 1);
    callAfter(50, endLoop);
  });
  const LogCapture log;
  dispatch(m_dispatcher, 7);
  EXPECT_TRUE(log.contains(lateLine("7")));
}
