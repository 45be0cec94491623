// What goes wrong between processes, provoked for real.

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "IpcAddressApi.h"
#include "IpcAddressApp.h"
#include "IpcAddressCore.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "ipc/IpcTestSupport.h"
#include "ipc/LoopFixture.h"
#include "ipc/WireMessage.h"
#include "support/LogCapture.h"

using Kelp::IpcAddressApi;
using Kelp::IpcAddressApp;
using Kelp::IpcAddressCore;
using Kelp::IpcEventReceiver;
using Kelp::IpcEventSender;
using Kelp::SessionId_t;
using KelpTest::errorLine;
using KelpTest::LogCapture;
using KelpTest::makeMessage;
using KelpTest::payload;
using KelpTest::WireMessage;

namespace {

constexpr char kCorePath[] = "/tmp/Kelp/fifocore";

Kelp::CommonReturnCode_t report(IpcEventSender& sender, std::string text) {
  return sender.sendOneWayRequest(payload<Kelp::IpcDataOneWayRequest>(text), static_cast<int>(text.size()));
}

Kelp::CommonReturnCode_t ask(IpcEventSender& sender, KelpTest::ResponseRecorder& handler, int timeout) {
  std::string text = "question";
  SessionId_t sessionId = Kelp::INVALID_SESSION_ID;
  return sender.sendRequest(payload<Kelp::IpcDataRequest>(text), 8, handler, sessionId, timeout);
}

Kelp::CommonReturnCode_t answer(Kelp::IpcAddress& dst, SessionId_t sessionId) {
  IpcEventSender sender(dst, IpcAddressCore());
  std::string text = "answer";
  return sender.sendResponse(sessionId, payload<Kelp::IpcDataResponse>(text), 6);
}

int s_ticks[2] = {-1, -1};

void tick(int /*signal*/) {
  const int error = errno;
  if (write(s_ticks[1], "x", 1) != 1) {
    errno = error;  // full: the reader has enough of them
  }
  errno = error;
}

// Interrupts the process's system calls 5,000 times a second while it lives.
class SignalStorm {
 public:
  SignalStorm() {
    if (pipe2(s_ticks, O_CLOEXEC | O_NONBLOCK) != 0) {
      abort();
    }
    struct sigaction action = {};
    action.sa_handler = tick;  // without SA_RESTART
    sigaction(SIGALRM, &action, &m_previous);
  }
  ~SignalStorm() {
    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &m_previous, nullptr);
    close(s_ticks[0]);
    close(s_ticks[1]);
  }
  SignalStorm(const SignalStorm&) = delete;
  SignalStorm& operator=(const SignalStorm&) = delete;

  static void start() {
    const itimerval period = {{0, 200}, {0, 200}};
    setitimer(ITIMER_REAL, &period, nullptr);
  }

  // In another process: until the storm's process was interrupted `count` times from now on.
  static void awaitTicks(int count) {
    char byte = 0;
    while (read(s_ticks[0], &byte, 1) == 1) {
    }
    for (int i = 0; i < count; ++i) {
      pollfd waiting = {s_ticks[0], POLLIN, 0};
      poll(&waiting, 1, -1);
      if (read(s_ticks[0], &byte, 1) != 1) {
        return;
      }
    }
  }

 private:
  struct sigaction m_previous;
};

bool isInterruption(const KelpTest::LogLine& line) {
  return line.message == "*** Interrupted by a Signal! Retry read()!! ***";
}

using IpcFaultTest = KelpTest::LoopFixture;

}  // namespace

TEST_F(IpcFaultTest, WhatAFullFifoTookArrivesWholeAndInOrderAndTheRestIsReported) {
  IpcEventReceiver core((IpcAddressCore()));
  IpcEventSender sender(IpcAddressCore(), IpcAddressApp(3, 1));
  size_t sent = 0;
  while (report(sender, std::to_string(sent) + std::string(1500, 'x')) == Kelp::CommonReturnCode_Ok) {
    ++sent;
  }
  EXPECT_LT(10U, sent);

  KelpTest::OneWayRecorder handler;
  handler.then = [&] {
    if (handler.told.size() == sent) {
      endLoop();
    }
  };
  core.setOneWayRequestHandler(Kelp::IpcAddressType_App, handler);
  looper().addEventReceiver(core);
  looper().runEventLoop();
  for (size_t i = 0; i < sent; ++i) {
    EXPECT_EQ(std::to_string(i) + std::string(1500, 'x'), handler.told[i].text);
  }
  EXPECT_EQ(0, KelpTest::bytesWaiting(core.getFd()));
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, report(sender, "room again"));
  looper().removeEventReceiver(core);
}

TEST_F(IpcFaultTest, ARequestIntoAFullFifoHasNoSession) {
  IpcEventReceiver core((IpcAddressCore()));
  IpcEventReceiver api(IpcAddressApi(1234));
  IpcEventSender filler(IpcAddressCore(), IpcAddressApp(3, 1));
  while (report(filler, std::string(4064, 'x')) == Kelp::CommonReturnCode_Ok) {
  }
  IpcEventSender sender(IpcAddressCore(), api);
  KelpTest::ResponseRecorder handler;
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, ask(sender, handler, 100));
  ASSERT_TRUE(KelpTest::writeMessage(api.getFd(), makeMessage(2, 1, 2, 0, 0, "answer")));
  api.receiveAndExecuteEvent();
  EXPECT_TRUE(handler.told.empty());
}

TEST_F(IpcFaultTest, APeerThatIsKilledLeavesATimeOutAndAFifoThatNobodyReads) {
  KelpTest::Signpost isReady;
  KelpTest::Signpost isAsked;
  KelpTest::ChildProcess peer([&] {
    const int fd = mkfifo(kCorePath, 0666) == 0 ? open(kCorePath, O_RDWR) : -1;
    isReady.raise();
    WireMessage message = {};
    KelpTest::readMessage(fd, message);
    isAsked.raise();
    pause();
    return 0;
  });
  ASSERT_TRUE(isReady.await());
  IpcEventReceiver api(IpcAddressApi(1234));
  looper().addEventReceiver(api);
  IpcEventSender sender(IpcAddressCore(), api);
  KelpTest::ResponseRecorder handler;
  handler.then = [](SessionId_t /*sessionId*/) { endLoop(); };
  runLoop([&] {
    EXPECT_EQ(Kelp::CommonReturnCode_Ok, ask(sender, handler, 50));
    EXPECT_TRUE(isAsked.await());
    peer.kill();
    EXPECT_EQ(-SIGKILL, peer.wait());
  });
  EXPECT_EQ(1U, handler.timedOut.size());
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, ask(sender, handler, 50));
  looper().removeEventReceiver(api);
}

TEST_F(IpcFaultTest, APeerThatStartedAgainIsReachedByANewSender) {
  auto core = std::make_unique<IpcEventReceiver>(IpcAddressCore());
  IpcEventSender oldSender(IpcAddressCore(), IpcAddressApp(3, 1));
  core.reset();
  core = std::make_unique<IpcEventReceiver>(IpcAddressCore());
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, report(oldSender, "lost"));
  IpcEventSender newSender(IpcAddressCore(), IpcAddressApp(3, 1));
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, report(newSender, "found"));
}

TEST_F(IpcFaultTest, AnAnswerIsTakenOfAnybodyWhoNamesItsSession) {
  IpcEventReceiver core((IpcAddressCore()));
  IpcEventReceiver api(IpcAddressApi(1234));
  IpcEventSender sender(IpcAddressCore(), api);
  KelpTest::ResponseRecorder handler;
  std::string text = "question";
  SessionId_t sessionId = Kelp::INVALID_SESSION_ID;
  ASSERT_EQ(Kelp::CommonReturnCode_Ok,
            sender.sendRequest(payload<Kelp::IpcDataRequest>(text), 8, handler, sessionId, -1));
  ASSERT_TRUE(KelpTest::writeMessage(api.getFd(), makeMessage(2, sessionId, 0, 99, 1, "of a stranger")));
  ASSERT_TRUE(KelpTest::writeMessage(api.getFd(), makeMessage(2, sessionId, 2, 0, 0, "of the core")));
  api.receiveAndExecuteEvent();
  api.receiveAndExecuteEvent();
  ASSERT_EQ(1U, handler.told.size());
  EXPECT_EQ("of a stranger", handler.told[0].text);
  EXPECT_EQ("/tmp/Kelp/fifo00000063_00000001", handler.told[0].fifoPath);
}

TEST_F(IpcFaultTest, WithoutDescriptorsAReceiverIsRefusedByItsLoop) {
  {
    IpcEventReceiver core((IpcAddressCore()));
    EXPECT_TRUE(looper().addEventReceiver(core));
    looper().removeEventReceiver(core);
  }
  for (const int spare : {0, 1}) {  // none for the FIFO, none for the duplicate
    const LogCapture log;
    const KelpTest::DescriptorShortage shortage(spare);
    IpcEventReceiver core((IpcAddressCore()));
    EXPECT_EQ(-1, core.getFd());
    EXPECT_EQ(spare == 0, log.contains(errorLine("IpcReceiver.cpp", 0, "IpcReceiver", "###ERROR###\n")));
    EXPECT_FALSE(looper().addEventReceiver(core));
  }
  IpcEventReceiver core((IpcAddressCore()));
  EXPECT_TRUE(looper().addEventReceiver(core));
  looper().removeEventReceiver(core);
}

TEST_F(IpcFaultTest, WithoutDescriptorsAnAnswerIsLostAndTheLoopGoesOn) {
  IpcEventReceiver core((IpcAddressCore()));
  IpcEventReceiver api(IpcAddressApi(1234));
  KelpTest::RequestRecorder requests;
  std::unique_ptr<KelpTest::DescriptorShortage> shortage;
  std::vector<Kelp::CommonReturnCode_t> results;
  requests.then = [&](Kelp::IpcAddress& src, SessionId_t sessionId) {
    if (requests.told.size() == 2) {
      shortage = std::make_unique<KelpTest::DescriptorShortage>(0);
    }
    results.push_back(answer(src, sessionId));
    shortage.reset();
  };
  core.setRequestHandler(Kelp::IpcAddressType_Api, requests);
  KelpTest::ResponseRecorder responses;
  responses.then = [&](SessionId_t /*sessionId*/) {
    if (responses.told.size() == 2) {
      endLoop();
    }
  };
  IpcEventSender sender(IpcAddressCore(), api);
  looper().addEventReceiver(core);
  looper().addEventReceiver(api);
  runLoop([&] {
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(Kelp::CommonReturnCode_Ok, ask(sender, responses, -1));
    }
  });
  EXPECT_EQ((std::vector<Kelp::CommonReturnCode_t>{Kelp::CommonReturnCode_Ok, Kelp::CommonReturnCode_FileAccessError,
                                                   Kelp::CommonReturnCode_Ok}),
            results);
  EXPECT_EQ(2U, responses.told.size());
  looper().removeEventReceiver(core);
  looper().removeEventReceiver(api);
}

TEST_F(IpcFaultTest, AFileInThePlaceOfTheFifoIsNoEventSource) {
  close(open(kCorePath, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  const LogCapture log;
  IpcEventReceiver core((IpcAddressCore()));
  EXPECT_EQ(std::vector<KelpTest::LogLine>{errorLine("IpcReceiver.cpp", 0, "makeComChannel", "###ERROR###\n")},
            log.lines());
  EXPECT_FALSE(looper().addEventReceiver(core));
  core.receiveAndExecuteEvent();
  EXPECT_TRUE(log.contains(errorLine("IpcReceiver.cpp", 0, "receive", "###ERROR### headerSize=32, ret=0\n\n")));
  EXPECT_TRUE(log.contains(errorLine("IpcEventReceiver.cpp", 0, "receiveAndExecuteEvent", "###ERROR###\n")));
}

TEST_F(IpcFaultTest, ReceivingSurvivesAStormOfSignals) {
  constexpr size_t kMessages = 10;
  IpcEventReceiver core((IpcAddressCore()));
  KelpTest::OneWayRecorder handler;
  handler.then = [&] {
    if (handler.told.size() == kMessages) {
      endLoop();
    }
  };
  core.setOneWayRequestHandler(Kelp::IpcAddressType_App, handler);
  looper().addEventReceiver(core);
  const LogCapture log;
  const SignalStorm storm;
  KelpTest::ChildProcess writer([] {
    const int fd = open(kCorePath, O_WRONLY);
    const KelpTest::Bytes bytes = toBytes(makeMessage(0, 0xFFFFFFFF, 0, 3, 1, "in several pieces"));
    for (size_t i = 0; i < kMessages; ++i) {
      for (size_t from = 0; from < bytes.size(); from += 20) {  // ends inside the header and inside the payload
        const size_t size = std::min<size_t>(20, bytes.size() - from);
        if (write(fd, &bytes[from], size) != static_cast<ssize_t>(size)) {
          return 1;
        }
        SignalStorm::awaitTicks(3);
      }
    }
    return 0;
  });
  SignalStorm::start();
  looper().runEventLoop();
  EXPECT_EQ(0, writer.wait());
  for (const KelpTest::Told& told : handler.told) {
    EXPECT_EQ("in several pieces", told.text);
  }
  EXPECT_TRUE(log.errors().empty());
  const std::vector<KelpTest::LogLine> traces = log.traces();
  EXPECT_LE(static_cast<long>(2 * kMessages), std::count_if(traces.begin(), traces.end(), isInterruption));
  looper().removeEventReceiver(core);
}

TEST_F(IpcFaultTest, SendingSurvivesAStormOfSignals) {
  constexpr unsigned kMessages = 5000;
  KelpTest::Signpost isReady;
  KelpTest::ChildProcess reader([&] {
    const int fd = mkfifo(kCorePath, 0666) == 0 ? open(kCorePath, O_RDWR) : -1;
    isReady.raise();
    for (unsigned i = 0; i < kMessages; ++i) {
      WireMessage message = {};
      if (!KelpTest::readMessage(fd, message) ||
          !(message == makeMessage(0, 0xFFFFFFFF, 0, 3, 1, std::to_string(i) + std::string(1000, 'x')))) {
        return 1;
      }
    }
    return 0;
  });
  ASSERT_TRUE(isReady.await());
  IpcEventSender sender(IpcAddressCore(), IpcAddressApp(3, 1));
  const SignalStorm storm;
  SignalStorm::start();
  for (unsigned i = 0; i < kMessages; ++i) {
    while (report(sender, std::to_string(i) + std::string(1000, 'x')) != Kelp::CommonReturnCode_Ok) {
      sched_yield();
    }
  }
  EXPECT_EQ(0, reader.wait());
}

TEST_F(IpcFaultTest, AConversationSurvivesAStormOfSignals) {
  constexpr unsigned kRounds = 500;
  IpcEventReceiver core((IpcAddressCore()));
  IpcEventReceiver api(IpcAddressApi(1234));
  KelpTest::RequestRecorder requests;
  requests.then = [](Kelp::IpcAddress& src, SessionId_t sessionId) {
    EXPECT_EQ(Kelp::CommonReturnCode_Ok, answer(src, sessionId));
  };
  core.setRequestHandler(Kelp::IpcAddressType_Api, requests);
  looper().addEventReceiver(core);
  looper().addEventReceiver(api);
  IpcEventSender sender(IpcAddressCore(), api);
  KelpTest::ResponseRecorder responses;
  responses.then = [&](SessionId_t /*sessionId*/) {
    if (responses.told.size() == kRounds) {
      endLoop();
    } else {
      EXPECT_EQ(Kelp::CommonReturnCode_Ok, ask(sender, responses, 60000));
    }
  };
  const LogCapture log;
  const SignalStorm storm;
  SignalStorm::start();
  runLoop([&] { EXPECT_EQ(Kelp::CommonReturnCode_Ok, ask(sender, responses, 60000)); });
  EXPECT_EQ(kRounds, responses.told.size());
  EXPECT_TRUE(log.errors().empty());
  looper().removeEventReceiver(core);
  looper().removeEventReceiver(api);
}
