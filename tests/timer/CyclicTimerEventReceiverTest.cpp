#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/timerfd.h>

#include <memory>
#include <thread>
#include <vector>

#include "CyclicTimerEventReceiver.h"
#include "support/CallFaults.h"
#include "support/Descriptors.h"
#include "support/LogCapture.h"
#include "support/ObjectType.h"

namespace {

using Kelp::CyclicTimerEventReceiver;
using Kelp::TimerId_t;
using Kelp::TimerService;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::LogCapture;

constexpr int64_t kMillisecond = 1000000;
constexpr int64_t kHour = 3600LL * 1000 * kMillisecond;
constexpr int kUnlimited = TimerService::INVALID_MAX_COUNT;

class Recorder : public TimerService::CyclicTimerObserver {
 public:
  void notifyCyclicTimer(TimerId_t timerId, int count) override { m_notifications.emplace_back(timerId, count); }
  std::vector<std::pair<TimerId_t, int>> m_notifications;
};

itimerspec settingOf(const CyclicTimerEventReceiver& receiver) {
  itimerspec setting = {};
  EXPECT_EQ(timerfd_gettime(receiver.getFd(), &setting), 0);
  return setting;
}

class CyclicTimerEventReceiverTest : public testing::Test {
 protected:
  Recorder m_recorder;
};

using CyclicTimerEventReceiverDeathTest = CyclicTimerEventReceiverTest;

TEST_F(CyclicTimerEventReceiverTest, RegistersUnderItsObjectType) {
  const CyclicTimerEventReceiver receiver(7, kHour, kUnlimited, m_recorder);
  EXPECT_EQ(KelpTest::objectTypeOf(receiver), 5);
  EXPECT_EQ(receiver.getTimerId(), 7);
}

TEST_F(CyclicTimerEventReceiverTest, DescriptorBlocksIsCloseOnExecAndClosedAtTheEnd) {
  auto receiver = std::make_unique<CyclicTimerEventReceiver>(1, kHour, kUnlimited, m_recorder);
  const int fd = receiver->getFd();
  EXPECT_TRUE(KelpTest::isCloseOnExec(fd));
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
  receiver.reset();
  EXPECT_FALSE(KelpTest::isOpen(fd));
}

TEST_F(CyclicTimerEventReceiverTest, IsArmedAtOnceWithIntervalsBeyond32Bits) {
  const CyclicTimerEventReceiver receiver(1, 5000000000123, kUnlimited, m_recorder);
  const itimerspec setting = settingOf(receiver);
  EXPECT_EQ(setting.it_interval.tv_sec, 5000);
  EXPECT_EQ(setting.it_interval.tv_nsec, 123);
  EXPECT_GE(setting.it_value.tv_sec, 4900);
  EXPECT_LE(setting.it_value.tv_sec, 5000);
}

TEST_F(CyclicTimerEventReceiverTest, FirstNotificationComesAWholeIntervalAfterTheStart) {
  const auto start = std::chrono::steady_clock::now();
  CyclicTimerEventReceiver receiver(3, 30 * kMillisecond, kUnlimited, m_recorder);
  receiver.receiveAndExecuteEvent();  // blocks
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
  EXPECT_EQ(m_recorder.m_notifications, (std::vector<std::pair<TimerId_t, int>>{{3, 1}}));
}

TEST_F(CyclicTimerEventReceiverTest, NotificationsAreCounted) {
  CyclicTimerEventReceiver receiver(3, kMillisecond, kUnlimited, m_recorder);
  for (int i = 0; i < 3; i++) {
    receiver.receiveAndExecuteEvent();
  }
  EXPECT_EQ(m_recorder.m_notifications, (std::vector<std::pair<TimerId_t, int>>{{3, 1}, {3, 2}, {3, 3}}));
}

TEST_F(CyclicTimerEventReceiverTest, MissedPeriodsAreFoldedIntoOneNotification) {
  CyclicTimerEventReceiver receiver(3, 100 * kMillisecond, kUnlimited, m_recorder);
  std::this_thread::sleep_for(std::chrono::milliseconds(350));
  receiver.receiveAndExecuteEvent();
  EXPECT_EQ(m_recorder.m_notifications, (std::vector<std::pair<TimerId_t, int>>{{3, 1}}));
  receiver.receiveAndExecuteEvent();
  EXPECT_EQ(m_recorder.m_notifications.back().second, 2);
}

TEST_F(CyclicTimerEventReceiverTest, NothingIsNotifiedBeyondTheMaximumCount) {
  TimerService::createInstance();
  const LogCapture log;
  CyclicTimerEventReceiver receiver(3, kMillisecond, 1, m_recorder);
  receiver.receiveAndExecuteEvent();  // cancels an id that the service does not know: goes on
  receiver.receiveAndExecuteEvent();
  EXPECT_EQ(m_recorder.m_notifications, (std::vector<std::pair<TimerId_t, int>>{{3, 1}}));
  EXPECT_EQ(
      log.lines(),
      (std::vector<KelpTest::LogLine>{KelpTest::errorLine("TimerService.cpp", 196, "cancelTimer", "###ERROR###\n")}));
  TimerService::destroyInstance();
}

constexpr char kConstructor[] =
    "Kelp::CyclicTimerEventReceiver::CyclicTimerEventReceiver\\(Kelp::TimerId_t, int64_t, int, "
    "Kelp::TimerService::CyclicTimerObserver&\\): ";

TEST_F(CyclicTimerEventReceiverDeathTest, FailedCreationEndsTheProcess) {
  EXPECT_DEATH(
      {
        const CallFault fault(Call::TimerfdCreate, EMFILE);
        const CyclicTimerEventReceiver receiver(1, kHour, kUnlimited, m_recorder);
      },
      std::string("CyclicTimerEventReceiver\\.cpp:39: ") + kConstructor + "Assertion `fd != -1' failed");
}

TEST_F(CyclicTimerEventReceiverDeathTest, NegativeIntervalEndsTheProcess) {
  EXPECT_DEATH(CyclicTimerEventReceiver(1, -kHour, kUnlimited, m_recorder),
               std::string("CyclicTimerEventReceiver\\.cpp:50: ") + kConstructor + "Assertion `-1 != ret' failed");
}

TEST_F(CyclicTimerEventReceiverDeathTest, FailedReadEndsTheProcess) {
  CyclicTimerEventReceiver receiver(1, kMillisecond, kUnlimited, m_recorder);
  EXPECT_DEATH(
      {
        const CallFault fault(Call::Read, EIO);
        receiver.receiveAndExecuteEvent();
      },
      "CyclicTimerEventReceiver\\.cpp:62: virtual void "
      "Kelp::CyclicTimerEventReceiver::receiveAndExecuteEvent\\(\\): Assertion `false' failed");
}

}  // namespace
