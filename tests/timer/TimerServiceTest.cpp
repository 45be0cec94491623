#include <errno.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <functional>
#include <future>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "EventLooperMultiWait.h"
#include "EventLooperSingleWait.h"
#include "ExecObjectEventSender.h"
#include "TimerEventReceiver.h"
#include "TimerService.h"
#include "support/CallFaults.h"
#include "support/Descriptors.h"
#include "support/LogCapture.h"
#include "support/LoopActors.h"
#include "support/ObjectType.h"
#include "support/SignalStorm.h"
#include "timer/LocalMinute.h"

namespace {

using Kelp::EventLooperMultiWait;
using Kelp::EventLooperSingleWait;
using Kelp::INVALID_TIMER_ID;
using Kelp::TimerEventReceiver;
using Kelp::TimerId_t;
using Kelp::TimerService;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::FunctionExecObject;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::PipeReceiver;

constexpr int64_t kMillisecond = 1000000;
constexpr int64_t kHour = 3600LL * 1000 * kMillisecond;
constexpr int kUnlimited = TimerService::INVALID_MAX_COUNT;

const LogLine kUnknownId = KelpTest::errorLine("TimerService.cpp", 196, "cancelTimer", "###ERROR###\n");

class CyclicObserver : public TimerService::CyclicTimerObserver {
 public:
  using Action = std::function<void(TimerId_t, int)>;
  explicit CyclicObserver(Action action = {}) : m_action(std::move(action)) {}
  void notifyCyclicTimer(TimerId_t timerId, int count) override {
    m_counts[timerId].push_back(count);
    if (m_action) {
      m_action(timerId, count);
    }
  }
  std::map<TimerId_t, std::vector<int>> m_counts;

 private:
  Action m_action;
};

class MinuteObserver : public TimerService::CyclicTimerByMinutesObserver {
 public:
  using Action = std::function<void(TimerId_t, const timeval&)>;
  explicit MinuteObserver(Action action) : m_action(std::move(action)) {}
  void notifyCyclicTimerByMinutes(TimerId_t timerId, const timeval& now) override { m_action(timerId, now); }

 private:
  Action m_action;
};

void runFor(EventLooperMultiWait& looper, const std::function<void()>& action) {
  looper.getExecObjectEventSender().send(*new FunctionExecObject([&looper, action] {
    action();
    looper.exitEventLoop();
  }));
  looper.runEventLoop();
}

// Long enough for timers of one millisecond to be ready.
void letTimersExpire() {
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
}

// First in the file: it has to see the process's first timer also when all tests run in one process.
TEST(TimerServiceFirstIdTest, IdsOfAProcessStartAt1AndIncrease) {
  TimerService::createInstance();
  TimerService& service = TimerService::getInstance();
  EventLooperMultiWait looper;
  CyclicObserver observer;
  EXPECT_EQ(service.startCyclicTimer(kHour, observer, &looper), 1);
  EXPECT_EQ(service.startCyclicTimer(kHour, observer, &looper), 2);
  EXPECT_EQ(service.createTimerId(), 3);
  service.cancelTimer(1);
  service.cancelTimer(2);
  TimerService::destroyInstance();
}

class TimerServiceTest : public testing::Test {
 protected:
  void SetUp() override { TimerService::createInstance(); }
  void TearDown() override { TimerService::destroyInstance(); }
  static TimerService& service() { return TimerService::getInstance(); }
  EventLooperMultiWait m_looper;
};

using TimerServiceDeathTest = TimerServiceTest;

// --- the instance

TEST(TimerServiceInstanceTest, CanBeCreatedAgainAndItsIdsGoOn) {
  TimerService::createInstance();
  EXPECT_EQ(KelpTest::objectTypeOf(TimerService::getInstance()), 39);
  EXPECT_EQ(&TimerService::getInstance(), &TimerService::getInstance());
  const TimerId_t last = TimerService::getInstance().createTimerId();
  TimerService::destroyInstance();
  TimerService::createInstance();
  EXPECT_EQ(TimerService::getInstance().createTimerId(), last + 1);
  TimerService::destroyInstance();
}

TEST(TimerServiceInstanceDeathTest, SecondInstanceEndsTheProcess) {
  TimerService::createInstance();
  EXPECT_DEATH(TimerService::createInstance(),
               "TimerService\\.cpp:62: static void Kelp::TimerService::createInstance\\(\\): "
               "Assertion `s_pThis == __null' failed");
  TimerService::destroyInstance();
}

TEST(TimerServiceInstanceDeathTest, DestroyingNoInstanceEndsTheProcess) {
  EXPECT_DEATH(TimerService::destroyInstance(),
               "TimerService\\.cpp:77: static void Kelp::TimerService::destroyInstance\\(\\): "
               "Assertion `s_pThis != __null' failed");
}

TEST(TimerServiceInstanceDeathTest, GettingNoInstanceEndsTheProcess) {
  EXPECT_DEATH(TimerService::getInstance(),
               "TimerService\\.cpp:93: static Kelp::TimerService& Kelp::TimerService::getInstance\\(\\): "
               "Assertion `s_pThis != __null' failed");
}

TEST(TimerServiceInstanceTest, InvalidIdAndInvalidMaxCountAreMinus1) {
  EXPECT_EQ(INVALID_TIMER_ID, -1);
  EXPECT_EQ(kUnlimited, -1);
}

// --- ids

TEST_F(TimerServiceTest, IdsAreUniqueAcrossThreads) {
  constexpr size_t kThreads = 4;
  constexpr size_t kIdsEach = 1000;
  std::vector<std::vector<TimerId_t>> ids(kThreads);
  std::vector<std::thread> threads;
  for (std::vector<TimerId_t>& mine : ids) {
    threads.emplace_back([&mine] {
      for (size_t i = 0; i < kIdsEach; i++) {
        mine.push_back(service().createTimerId());
      }
    });
  }
  std::set<TimerId_t> all;
  for (size_t i = 0; i < kThreads; i++) {
    threads[i].join();
    all.insert(ids[i].begin(), ids[i].end());
  }
  EXPECT_EQ(all.size(), kThreads * kIdsEach);
}

// --- cyclic timers

TEST_F(TimerServiceTest, TimerNotifiesItsMaximumCountAndIsGone) {
  CyclicObserver observer([&](TimerId_t, int count) {
    if (count == 3) {
      m_looper.getExecObjectEventSender().send(*new FunctionExecObject([&] { m_looper.exitEventLoop(); }));
    }
  });
  const int fd = KelpTest::nextFreeFd();
  const TimerId_t id = service().startCyclicTimer(5 * kMillisecond, 3, observer, &m_looper);
  EXPECT_TRUE(KelpTest::isOpen(fd));
  const LogCapture log;
  m_looper.runEventLoop();
  EXPECT_EQ(observer.m_counts[id], (std::vector<int>{1, 2, 3}));
  EXPECT_FALSE(KelpTest::isOpen(fd));
  EXPECT_TRUE(log.lines().empty());
  service().cancelTimer(id);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kUnknownId});
}

TEST_F(TimerServiceTest, TimerWithoutAMaximumRunsUntilCancelled) {
  CyclicObserver observer([&](TimerId_t id, int count) {
    if (count == 10) {
      service().cancelTimer(id);
      m_looper.exitEventLoop();
    }
  });
  const TimerId_t id = service().startCyclicTimer(kMillisecond, observer, &m_looper);
  m_looper.runEventLoop();
  EXPECT_EQ(observer.m_counts[id].size(), 10U);
}

TEST_F(TimerServiceTest, NoLooperMeansTheOneThatRunsOnTheThread) {
  CyclicObserver observer([&](TimerId_t, int) { m_looper.exitEventLoop(); });
  m_looper.getExecObjectEventSender().send(
      *new FunctionExecObject([&] { service().startCyclicTimer(kMillisecond, 1, observer, nullptr); }));
  m_looper.runEventLoop();
  EXPECT_EQ(observer.m_counts.size(), 1U);
}

TEST_F(TimerServiceTest, ObserverIsCalledOnTheThreadOfTheGivenLooper) {
  std::promise<std::thread::id> calledOn;
  CyclicObserver observer([&](TimerId_t, int) {
    calledOn.set_value(std::this_thread::get_id());
    m_looper.exitEventLoop();
  });
  service().startCyclicTimer(kMillisecond, 1, observer, &m_looper);
  std::thread thread([&] { m_looper.runEventLoop(); });
  EXPECT_EQ(calledOn.get_future().get(), thread.get_id());
  thread.join();
}

TEST_F(TimerServiceTest, SeveralThreadsRunTimersAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; i++) {
    threads.emplace_back([] {
      EventLooperMultiWait looper;
      int finished = 0;
      CyclicObserver observer([&](TimerId_t, int count) {
        if (count == 5 && ++finished == 10) {
          looper.exitEventLoop();
        }
      });
      for (int t = 0; t < 10; t++) {
        service().startCyclicTimer(kMillisecond, 5, observer, &looper);
      }
      looper.runEventLoop();
      EXPECT_EQ(observer.m_counts.size(), 10U);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST_F(TimerServiceTest, TimersRunThroughAStormOfSignals) {
  const KelpTest::SignalStorm storm;
  CyclicObserver observer([&](TimerId_t, int count) {
    if (count == 20) {
      m_looper.exitEventLoop();
    }
  });
  const LogCapture log;
  const TimerId_t id = service().startCyclicTimer(2 * kMillisecond, 20, observer, &m_looper);
  m_looper.runEventLoop();
  EXPECT_EQ(observer.m_counts[id].size(), 20U);
  EXPECT_TRUE(log.errors().empty());
}

TEST_F(TimerServiceTest, FiveThousandTimersAtOnceAllNotify) {
  constexpr rlim_t kTimers = 5000;
  rlimit limit = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  if (limit.rlim_max < kTimers + 100) {
    GTEST_SKIP() << "at most " << limit.rlim_max << " descriptors are allowed here";
  }
  limit.rlim_cur = kTimers + 100;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  const int fd = KelpTest::nextFreeFd();
  rlim_t notified = 0;
  CyclicObserver observer([&](TimerId_t, int) {
    if (++notified == kTimers) {
      m_looper.exitEventLoop();
    }
  });
  for (rlim_t i = 0; i < kTimers; i++) {
    service().startCyclicTimer(200 * kMillisecond, 1, observer, &m_looper);
  }
  EXPECT_GE(KelpTest::nextFreeFd(), fd + static_cast<int>(kTimers));  // all exist at once
  m_looper.runEventLoop();
  EXPECT_EQ(observer.m_counts.size(), kTimers);
  EXPECT_EQ(KelpTest::nextFreeFd(), fd);
}

TEST_F(TimerServiceDeathTest, MaximumCountOutOfRangeEndsTheProcess) {
  CyclicObserver observer;
  for (const int maxCount : {0, -2}) {
    EXPECT_DEATH(service().startCyclicTimer(kHour, maxCount, observer, &m_looper),
                 "TimerService\\.cpp:116: Kelp::TimerId_t Kelp::TimerService::startCyclicTimer\\(int64_t, int, "
                 "Kelp::TimerService::CyclicTimerObserver&, Kelp::EventLooperMultiWait\\*\\): "
                 "Assertion `0 < maxCount \\|\\| maxCount == INVALID_MAX_COUNT' failed");
  }
}

constexpr char kNoLooper[] =
    "TimerService\\.cpp:262: void Kelp::TimerService::addEventReceiverToLooper\\(Kelp::TimerId_t, "
    "Kelp::TimerEventReceiver&, Kelp::EventLooperMultiWait\\*\\): Assertion `false' failed";

TEST_F(TimerServiceDeathTest, TimerWhereNoLoopRunsEndsTheProcess) {
  CyclicObserver cyclic;
  MinuteObserver byMinutes({});
  EXPECT_DEATH(service().startCyclicTimer(kHour, 1, cyclic, nullptr), kNoLooper);
  EXPECT_DEATH(service().startCyclicTimer(kHour, cyclic, nullptr), kNoLooper);
  EXPECT_DEATH(service().startCyclicTimerByMinutes(byMinutes, nullptr), kNoLooper);
}

TEST_F(TimerServiceDeathTest, TimerWhereASingleWaitLoopRunsEndsTheProcess) {
  CyclicObserver observer;
  PipeReceiver receiver([&] { service().startCyclicTimer(kHour, observer, nullptr); });
  EventLooperSingleWait looper(receiver);
  receiver.trigger();
  EXPECT_DEATH(looper.runEventLoop(), kNoLooper);
}

// --- timers by minutes

TEST_F(TimerServiceTest, TimerByMinutesFiresAtAWholeMinuteOfLocalTime) {
  const int ahead = KelpTest::setLocalSecond(58);
  TimerId_t id = INVALID_TIMER_ID;
  int calls = 0;
  MinuteObserver observer([&](TimerId_t timerId, const timeval& now) {
    calls++;
    EXPECT_EQ(timerId, id);
    EXPECT_EQ((now.tv_sec + ahead) % 60, 0);
    service().cancelTimer(timerId);
    m_looper.exitEventLoop();
  });
  const int fd = KelpTest::nextFreeFd();
  id = service().startCyclicTimerByMinutes(observer, &m_looper);
  m_looper.runEventLoop();
  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(KelpTest::isOpen(fd));
}

// --- cancelling

TEST_F(TimerServiceTest, CancellingNoTimerDoesAndLogsNothing) {
  const LogCapture log;
  service().cancelTimer(INVALID_TIMER_ID);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TimerServiceTest, CancellingAnUnknownTimerIsLogged) {
  const LogCapture log;
  service().cancelTimer(12345);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kUnknownId});
}

TEST_F(TimerServiceTest, CancelledTimerIsNotifiedNoMore) {
  CyclicObserver observer;
  const TimerId_t id = service().startCyclicTimer(kMillisecond, observer, &m_looper);
  letTimersExpire();
  service().cancelTimer(id);
  runFor(m_looper, [] {});
  EXPECT_TRUE(observer.m_counts.empty());
}

TEST_F(TimerServiceTest, CancelledTimersDescriptorStaysOpenUntilThePassIsOver) {
  const int fd = KelpTest::nextFreeFd();
  CyclicObserver observer([&](TimerId_t id, int) {
    service().cancelTimer(id);
    EXPECT_TRUE(KelpTest::isOpen(fd));
    m_looper.getExecObjectEventSender().send(*new FunctionExecObject([&] {
      EXPECT_FALSE(KelpTest::isOpen(fd));
      m_looper.exitEventLoop();
    }));
  });
  service().startCyclicTimer(kMillisecond, observer, &m_looper);
  m_looper.runEventLoop();
  EXPECT_EQ(observer.m_counts.size(), 1U);
  EXPECT_FALSE(KelpTest::isOpen(fd));
}

TEST_F(TimerServiceTest, CancellingInItsOwnCallEndsThePass) {
  CyclicObserver observer([&](TimerId_t id, int) { service().cancelTimer(id); });
  for (int i = 0; i < 3; i++) {
    service().startCyclicTimer(kMillisecond, observer, &m_looper);
  }
  letTimersExpire();
  for (size_t pass = 1; pass <= 3; pass++) {
    m_looper.processEvent();
    EXPECT_EQ(observer.m_counts.size(), pass);
  }
}

TEST_F(TimerServiceTest, TimerCancelledByAnotherInTheSamePassIsNotNotified) {
  TimerId_t ids[2] = {};
  CyclicObserver observer([&](TimerId_t id, int) {
    service().cancelTimer(id == ids[0] ? ids[1] : ids[0]);
    service().cancelTimer(id);
    m_looper.exitEventLoop();
  });
  for (TimerId_t& id : ids) {
    id = service().startCyclicTimer(kMillisecond, observer, &m_looper);
  }
  letTimersExpire();
  const LogCapture log;
  m_looper.runEventLoop();
  EXPECT_EQ(observer.m_counts.size(), 1U);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TimerServiceTest, CancellingAtTheLastCountLeavesAnErrorLine) {
  CyclicObserver observer([&](TimerId_t id, int) {
    service().cancelTimer(id);
    m_looper.exitEventLoop();
  });
  service().startCyclicTimer(kMillisecond, 1, observer, &m_looper);
  const LogCapture log;
  m_looper.runEventLoop();
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kUnknownId});
}

TEST_F(TimerServiceTest, ObserverMayStartTheNextTimer) {
  int started = 0;
  std::function<void()> start;
  CyclicObserver observer([&](TimerId_t, int) {
    if (started == 5) {
      m_looper.exitEventLoop();
    } else {
      start();
    }
  });
  start = [&] {
    started++;
    service().startCyclicTimer(kMillisecond, 1, observer, nullptr);
  };
  m_looper.getExecObjectEventSender().send(*new FunctionExecObject(start));
  m_looper.runEventLoop();
  EXPECT_EQ(observer.m_counts.size(), 5U);
}

TEST_F(TimerServiceDeathTest, CancellingATimerThatNoLooperTookEndsTheProcess) {
  CyclicObserver observer;
  EXPECT_DEATH(
      {
        const CallFault fault(Call::EpollCtl, ENOSPC);
        service().cancelTimer(service().startCyclicTimer(kHour, observer, &m_looper));
      },
      "TimerService\\.cpp:208: void Kelp::TimerService::cancelTimer\\(Kelp::TimerId_t\\): Assertion `false' failed");
}

// --- receivers of the host's own

class HostTimer : public TimerEventReceiver {
 public:
  HostTimer(TimerId_t id, int& deletions) : TimerEventReceiver(id), m_deletions(deletions) {
    setFd(m_pipe.takeReadEnd());
    if (write(m_pipe.writeEnd(), "a", 1) != 1) {
      abort();
    }
  }
  ~HostTimer() override { m_deletions++; }
  void receiveAndExecuteEvent() override { m_calls++; }
  int m_calls = 0;

 private:
  KelpTest::Pipe m_pipe;
  int& m_deletions;
};

TEST_F(TimerServiceTest, EnteringAnIdAgainReplacesItsReceiver) {
  int deletions[2] = {0, 0};
  const TimerId_t id = service().createTimerId();
  auto* first = new HostTimer(id, deletions[0]);
  service().addEventReceiverToLooper(id, *first, &m_looper);
  service().addEventReceiverToLooper(id, *new HostTimer(id, deletions[1]), &m_looper);
  service().cancelTimer(id);
  runFor(m_looper, [] {});
  EXPECT_EQ(deletions[1], 1);
  EXPECT_EQ(deletions[0], 0);
  m_looper.removeEventReceiver(*first);
  delete first;
}

TEST(TimerServiceInstanceTest, ActiveTimersGoOnWhenTheServiceIsDestroyed) {
  int deletions = 0;
  EventLooperMultiWait looper;
  TimerService::createInstance();
  const TimerId_t id = TimerService::getInstance().createTimerId();
  auto* timer = new HostTimer(id, deletions);
  TimerService::getInstance().addEventReceiverToLooper(id, *timer, &looper);
  TimerService::destroyInstance();
  looper.processEvent();
  EXPECT_EQ(timer->m_calls, 1);
  EXPECT_EQ(timer->getEventLooperMultiWait(), &looper);
  looper.removeEventReceiver(*timer);
  delete timer;
  EXPECT_EQ(deletions, 1);
}

}  // namespace
