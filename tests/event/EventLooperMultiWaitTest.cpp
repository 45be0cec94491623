#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/ioctl.h>

#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "EventLooperMultiWait.h"
#include "ExecObjectDoNothing.h"
#include "ExecObjectEventSender.h"
#include "ExecObjectPthreadExit.h"
#include "support/CallFaults.h"
#include "support/Descriptors.h"
#include "support/LogCapture.h"
#include "support/LoopActors.h"
#include "support/ObjectType.h"
#include "support/SignalStorm.h"

namespace {

using Kelp::EventLooper;
using Kelp::EventLooperMultiWait;
using Kelp::ExecObject;
using Kelp::ExecObjectPthreadExit;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::FunctionDisposable;
using KelpTest::FunctionExecObject;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::PipeReceiver;
using KelpTest::traceLine;

const LogLine kWakeUp = traceLine("EventLooperMultiWait.cpp", 51, "exitEventLoop", "send ExecObjectDoNothing\n");

// How many bytes wait in the looper's exec channel.
int bytesInExecChannel(EventLooperMultiWait& looper) {
  int bytes = -1;
  ioctl(looper.getExecObjectEventSender().getFd(), FIONREAD, &bytes);
  return bytes;
}

void send(EventLooperMultiWait& looper, std::function<void()> action) {
  looper.getExecObjectEventSender().send(*new FunctionExecObject(std::move(action)));
}

void add(EventLooperMultiWait& looper, PipeReceiver& receiver) {
  ASSERT_TRUE(looper.addEventReceiver(receiver));
  receiver.trigger();
}

TEST(EventLooperMultiWaitTest, HasItsTypeAndObjectType) {
  const EventLooperMultiWait looper;
  EXPECT_EQ(looper.getEventLooperType(), EventLooper::EVENT_LOOPER_TYPE_MULTI_WAIT);
  EXPECT_EQ(KelpTest::objectTypeOf(looper), 6);
}

TEST(EventLooperMultiWaitTest, LifeWithoutARunLogsNothingAndLosesNoDescriptor) {
  const int before = KelpTest::nextFreeFd();
  const LogCapture log;
  { const EventLooperMultiWait looper; }
  EXPECT_EQ(KelpTest::nextFreeFd(), before);
  EXPECT_TRUE(log.lines().empty());
}

TEST(EventLooperMultiWaitTest, FailureToAddTheExecChannelIsOnlyLogged) {
  const LogCapture log;
  {
    const CallFault fault(Call::EpollCtl, ENOMEM);
    const EventLooperMultiWait looper;
    EXPECT_FALSE(looper.needsExit());
  }
  EXPECT_EQ(log.lines(),
            (std::vector<LogLine>{errorLine("EventPoller.cpp", 65, "addEventReceiver",
                                            "###ERROR### epoll_ctl(EPOLL_CTL_ADD) returns error. (errno=12)\n"),
                                  errorLine("EventPoller.cpp", 84, "removeEventReceiver", "###ERROR###\n")}));
}

TEST(EventLooperMultiWaitTest, DestructionLeavesAddedReceiversAlone) {
  PipeReceiver receiver;
  {
    EventLooperMultiWait looper;
    looper.addEventReceiver(receiver);
  }
  EXPECT_TRUE(KelpTest::isOpen(receiver.getFd()));
}

// --- adding and removing

TEST(EventLooperMultiWaitTest, AddedReceiverKnowsItsLooperUntilItIsRemoved) {
  EventLooperMultiWait looper;
  PipeReceiver receiver;
  EXPECT_TRUE(looper.addEventReceiver(receiver));
  EXPECT_EQ(receiver.getEventLooperMultiWait(), &looper);
  looper.removeEventReceiver(receiver);
  EXPECT_EQ(receiver.getEventLooperMultiWait(), nullptr);
}

TEST(EventLooperMultiWaitTest, ReceiverThatCannotBeAddedStaysUntouched) {
  EventLooperMultiWait looper;
  EventLooperMultiWait other;
  PipeReceiver receiver;
  ASSERT_TRUE(other.addEventReceiver(receiver));
  const CallFault fault(Call::EpollCtl, ENOSPC);
  EXPECT_FALSE(looper.addEventReceiver(receiver));
  EXPECT_EQ(receiver.getEventLooperMultiWait(), &other);
  other.removeEventReceiver(receiver);
}

// --- one pass

TEST(EventLooperMultiWaitTest, PassCallsEachReadyReceiverOnce) {
  EventLooperMultiWait looper;
  PipeReceiver first;
  PipeReceiver second;
  PipeReceiver idle;
  add(looper, first);
  add(looper, second);
  looper.addEventReceiver(idle);
  looper.processEvent();
  EXPECT_EQ(first.calls(), 1);
  EXPECT_EQ(second.calls(), 1);
  EXPECT_EQ(idle.calls(), 0);
}

TEST(EventLooperMultiWaitTest, NothingIsDispatchedAfterTheEventThatAskedForExit) {
  EventLooperMultiWait looper;
  const auto exit = [&] { looper.exitEventLoop(); };
  PipeReceiver first(exit);
  PipeReceiver second(exit);
  add(looper, first);
  add(looper, second);
  looper.runEventLoop();
  EXPECT_EQ(first.calls() + second.calls(), 1);
}

TEST(EventLooperMultiWaitTest, ReceiverRemovedAndDestroyedByAnotherIsNotCalledInThatPass) {
  EventLooperMultiWait looper;
  std::unique_ptr<PipeReceiver> receivers[2];
  int calls = 0;
  for (int i = 0; i < 2; i++) {
    receivers[i] = std::make_unique<PipeReceiver>([&, i] {
      calls++;
      looper.removeEventReceiver(*receivers[1 - i]);
      receivers[1 - i].reset();
    });
    add(looper, *receivers[i]);
  }
  looper.processEvent();
  EXPECT_EQ(calls, 1);
}

TEST(EventLooperMultiWaitTest, RemovalEndsThePassAndTheNextOneCatchesUp) {
  EventLooperMultiWait looper;
  std::unique_ptr<PipeReceiver> receivers[3];
  std::vector<int> called;
  for (int i = 0; i < 3; i++) {
    receivers[i] = std::make_unique<PipeReceiver>([&, i] {
      called.push_back(i);
      looper.removeEventReceiver(*receivers[i]);
    });
    add(looper, *receivers[i]);
  }
  for (size_t pass = 1; pass <= 3; pass++) {
    looper.processEvent();
    EXPECT_EQ(called.size(), pass);
  }
}

TEST(EventLooperMultiWaitTest, ReceiverMayDisposeOfItselfInItsOwnCall) {
  EventLooperMultiWait looper;
  PipeReceiver* pReceiver = nullptr;
  pReceiver = new PipeReceiver([&] {
    looper.removeEventReceiver(*pReceiver);
    looper.disposeSafely(*pReceiver);
    send(looper, [&] { looper.exitEventLoop(); });
  });
  const int fd = pReceiver->getFd();
  add(looper, *pReceiver);
  looper.runEventLoop();
  EXPECT_FALSE(KelpTest::isOpen(fd));
}

TEST(EventLooperMultiWaitTest, DisposableLivesUntilTheRestOfThePassHasReturned) {
  EventLooperMultiWait looper;
  int alive = 0;
  int aliveDuringTheSecondCall = -1;
  bool isFirst = true;
  const auto action = [&] {
    if (isFirst) {
      isFirst = false;
      alive = 1;
      looper.disposeSafely(*new FunctionDisposable([&] { alive = 0; }));
      return;
    }
    aliveDuringTheSecondCall = alive;
    send(looper, [&] {
      EXPECT_EQ(alive, 0);  // the next wait came after the deletion
      looper.exitEventLoop();
    });
  };
  PipeReceiver first(action);
  PipeReceiver second(action);
  add(looper, first);
  add(looper, second);
  looper.runEventLoop();
  EXPECT_EQ(aliveDuringTheSecondCall, 1);
}

TEST(EventLooperMultiWaitTest, FailedWaitLeavesTwoErrorLinesAndTheLoopGoesOn) {
  EventLooperMultiWait looper;
  send(looper, [&] { looper.exitEventLoop(); });
  const LogCapture log;
  const CallFault fault(Call::EpollWait, EIO, 0, 2);
  looper.runEventLoop();
  const LogLine wait = errorLine("EventPoller.cpp", 111, "poll", "###ERROR### errno = 5\n");
  const LogLine pass = errorLine("EventLooperMultiWait.cpp", 93, "processEvent", "###ERROR###\n");
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{wait, pass, wait, pass}));
}

// --- exit

TEST(EventLooperMultiWaitTest, ExitByAReceiverOfTheLooperLogsAndSendsNothing) {
  EventLooperMultiWait looper;
  int written = 0;
  PipeReceiver receiver([&] {
    const int writes = callCount(Call::Write);
    looper.exitEventLoop();
    written = callCount(Call::Write) - writes;
  });
  add(looper, receiver);
  const LogCapture log;
  looper.runEventLoop();
  EXPECT_EQ(written, 0);
  EXPECT_EQ(bytesInExecChannel(looper), 0);
  EXPECT_TRUE(log.lines().empty());
}

TEST(EventLooperMultiWaitTest, ExitByAnotherThreadLogsAndWakesTheBlockedLoop) {
  EventLooperMultiWait looper;
  const LogCapture log;
  std::thread thread([&] { looper.runEventLoop(); });
  std::promise<void> hasStarted;
  send(looper, [&] { hasStarted.set_value(); });
  hasStarted.get_future().wait();
  looper.exitEventLoop();
  thread.join();
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kWakeUp});
  EXPECT_FALSE(looper.isRunning());
}

TEST(EventLooperMultiWaitTest, ExitOfALooperThatIsNotRunningYetLogsAndSendsAllTheSame) {
  EventLooperMultiWait looper;
  const LogCapture log;
  looper.exitEventLoop();
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kWakeUp});
  looper.runEventLoop();
  EXPECT_EQ(bytesInExecChannel(looper), static_cast<int>(sizeof(ExecObject*)));  // ended at the flag
}

TEST(EventLooperMultiWaitTest, ExitByAThreadThatRunsAnotherLoopLogsAndSends) {
  EventLooperMultiWait looper;
  EventLooperMultiWait other;
  const LogCapture log;
  send(other, [&] {
    looper.exitEventLoop();
    other.exitEventLoop();
  });
  other.runEventLoop();
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kWakeUp});
  EXPECT_EQ(bytesInExecChannel(looper), static_cast<int>(sizeof(ExecObject*)));
}

// --- exec channel

TEST(EventLooperMultiWaitTest, IsFoundByWhatItCalls) {
  EventLooperMultiWait looper;
  send(looper, [&] {
    EXPECT_EQ(EventLooper::getRunningLooperMultiWait(), &looper);
    looper.exitEventLoop();
  });
  looper.runEventLoop();
  EXPECT_EQ(EventLooper::getRunningLooperMultiWait(), nullptr);
}

TEST(EventLooperMultiWaitTest, ObjectsSentBeforeTheLoopRunsAreExecutedInOrder) {
  EventLooperMultiWait looper;
  std::vector<int> executed;
  for (int i = 0; i < 3; i++) {
    send(looper, [&executed, i] { executed.push_back(i); });
  }
  looper.getExecObjectEventSender().send(*new ExecObjectPthreadExit);
  looper.runEventLoop();
  EXPECT_EQ(executed, (std::vector<int>{0, 1, 2}));
}

TEST(EventLooperMultiWaitTest, ObjectsOfManyThreadsAllArriveInEachThreadsOrder) {
  constexpr size_t kThreads = 4;
  constexpr int kObjectsEach = 2000;
  EventLooperMultiWait looper;
  std::vector<std::vector<int>> received(kThreads);
  size_t finished = 0;
  std::vector<std::thread> threads;
  for (size_t t = 0; t < kThreads; t++) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kObjectsEach; i++) {
        send(looper, [&received, t, i] { received[t].push_back(i); });
      }
      looper.getExecObjectEventSender().send(*new FunctionExecObject([&] {
        if (++finished == kThreads) {
          looper.exitEventLoop();
        }
      }));
    });
  }
  looper.runEventLoop();
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const std::vector<int>& numbers : received) {
    ASSERT_EQ(numbers.size(), static_cast<size_t>(kObjectsEach));
    for (int i = 0; i < kObjectsEach; i++) {
      EXPECT_EQ(numbers[static_cast<size_t>(i)], i);
    }
  }
}

TEST(EventLooperMultiWaitTest, LoopSurvivesAStormOfSignals) {
  EventLooperMultiWait looper;
  const LogCapture log;
  const KelpTest::SignalStorm storm;
  int executed = 0;
  std::thread sender([&] {
    for (int i = 0; i < 20; i++) {
      storm.waitForMoreHits(5);
      send(looper, [&] { executed++; });
    }
    looper.getExecObjectEventSender().send(*new ExecObjectPthreadExit);
  });
  looper.runEventLoop();
  sender.join();
  EXPECT_EQ(executed, 20);
  EXPECT_TRUE(log.errors().empty());
}

TEST(EventLooperMultiWaitTest, TwoLoopsPassObjectsBackAndForth) {
  constexpr int kRounds = 500;
  EventLooperMultiWait here;
  EventLooperMultiWait there;
  int rounds = 0;
  std::function<void()> ping = [&] {
    send(there, [&] {
      send(here, [&] {
        if (++rounds == kRounds) {
          here.exitEventLoop();
        } else {
          ping();
        }
      });
    });
  };
  ping();
  std::thread thread([&] { there.runEventLoop(); });
  here.runEventLoop();
  there.exitEventLoop();
  thread.join();
  EXPECT_EQ(rounds, kRounds);
}

}  // namespace
