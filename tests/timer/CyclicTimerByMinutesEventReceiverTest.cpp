#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/timerfd.h>

#include <memory>
#include <string>
#include <vector>

#include "CyclicTimerByMinutesEventReceiver.h"
#include "support/CallFaults.h"
#include "support/Descriptors.h"
#include "support/LogCapture.h"
#include "support/ObjectType.h"
#include "timer/LocalMinute.h"

namespace {

using Kelp::CyclicTimerByMinutesEventReceiver;
using Kelp::TimerId_t;
using Kelp::TimerService;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::traceLine;
using KelpTest::wallClock;

class Recorder : public TimerService::CyclicTimerByMinutesObserver {
 public:
  void notifyCyclicTimerByMinutes(TimerId_t timerId, const timeval& now) override {
    m_timerIds.push_back(timerId);
    m_now = now;
  }
  std::vector<TimerId_t> m_timerIds;
  timeval m_now = {};
};

constexpr double kNanosecond = 1e-9;
constexpr double kClockResolution = 1e-5;

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double timeLeftOf(const CyclicTimerByMinutesEventReceiver& receiver) {
  itimerspec setting = {};
  EXPECT_EQ(timerfd_gettime(receiver.getFd(), &setting), 0);
  EXPECT_EQ(setting.it_interval.tv_sec, 60);
  EXPECT_EQ(setting.it_interval.tv_nsec, 0);
  return static_cast<double>(setting.it_value.tv_sec) + static_cast<double>(setting.it_value.tv_nsec) * kNanosecond;
}

// The receiver was armed after `before`, in a zone that many seconds ahead: it has to fire at a whole local minute, or
// later by no more than the arming has taken.
void expectArmedForAWholeMinute(const CyclicTimerByMinutesEventReceiver& receiver, const timeval& before, int ahead) {
  const double timeLeft = timeLeftOf(receiver);
  const double now = secondsOf(wallClock());
  const double latest = now + timeLeft + ahead + kClockResolution;
  const double minute = static_cast<double>(static_cast<long long>(latest) / 60 * 60);
  EXPECT_LE(latest - minute, 2 * (now - secondsOf(before)) + 2 * kClockResolution);
  EXPECT_LE(timeLeft, 60.0);
}

void expireNow(const CyclicTimerByMinutesEventReceiver& receiver) {
  const itimerspec atOnce = {{0, 0}, {0, 1}};
  ASSERT_EQ(timerfd_settime(receiver.getFd(), 0, &atOnce, nullptr), 0);
}

class CyclicTimerByMinutesEventReceiverTest : public testing::Test {
 protected:
  Recorder m_recorder;
};

using CyclicTimerByMinutesEventReceiverDeathTest = CyclicTimerByMinutesEventReceiverTest;

TEST_F(CyclicTimerByMinutesEventReceiverTest, RegistersUnderItsObjectType) {
  const CyclicTimerByMinutesEventReceiver receiver(7, m_recorder);
  EXPECT_EQ(KelpTest::objectTypeOf(receiver), 4);
  EXPECT_EQ(receiver.getTimerId(), 7);
}

TEST_F(CyclicTimerByMinutesEventReceiverTest, DescriptorBlocksIsCloseOnExecAndClosedAtTheEnd) {
  auto receiver = std::make_unique<CyclicTimerByMinutesEventReceiver>(1, m_recorder);
  const int fd = receiver->getFd();
  EXPECT_TRUE(KelpTest::isCloseOnExec(fd));
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
  receiver.reset();
  EXPECT_FALSE(KelpTest::isOpen(fd));
}

TEST_F(CyclicTimerByMinutesEventReceiverTest, IsArmedForTheNextWholeMinuteOfLocalTime) {
  for (const int ahead : {0, 17, 30, 59}) {
    KelpTest::setLocalTimeAhead(ahead);
    const timeval before = wallClock();
    const CyclicTimerByMinutesEventReceiver receiver(1, m_recorder);
    expectArmedForAWholeMinute(receiver, before, ahead);
  }
}

TEST_F(CyclicTimerByMinutesEventReceiverTest, EachEventRealignsTheTimerToTheClock) {
  KelpTest::setLocalTimeAhead(0);
  CyclicTimerByMinutesEventReceiver receiver(1, m_recorder);
  KelpTest::setLocalTimeAhead(23);
  expireNow(receiver);
  const timeval before = wallClock();
  receiver.receiveAndExecuteEvent();
  expectArmedForAWholeMinute(receiver, before, 23);
}

TEST_F(CyclicTimerByMinutesEventReceiverTest, EventNotifiesWithTheTimeAndTracesIt) {
  CyclicTimerByMinutesEventReceiver receiver(5, m_recorder);
  expireNow(receiver);
  const LogCapture log;
  const timeval before = wallClock();
  receiver.receiveAndExecuteEvent();
  EXPECT_EQ(m_recorder.m_timerIds, std::vector<TimerId_t>{5});
  EXPECT_GE(secondsOf(m_recorder.m_now), secondsOf(before));
  EXPECT_LE(secondsOf(m_recorder.m_now), secondsOf(wallClock()));
  char text[26];
  const std::string time = ctime_r(&m_recorder.m_now.tv_sec, text);
  const std::string usec = std::to_string(m_recorder.m_now.tv_usec);
  EXPECT_EQ(time.back(), '\n');
  const char* file = "CyclicTimerByMinutesEventReceiver.cpp";
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{traceLine(file, 82, "receiveAndExecuteEvent", time + "\n"),
                                               traceLine(file, 83, "receiveAndExecuteEvent", "usec=" + usec + "\n")}));
}

constexpr char kReset[] = "void Kelp::CyclicTimerByMinutesEventReceiver::resetTimerfd\\(\\): ";
constexpr char kEvent[] = "virtual void Kelp::CyclicTimerByMinutesEventReceiver::receiveAndExecuteEvent\\(\\): ";

std::string deathAt(int line, const std::string& function, const std::string& expression) {
  return "CyclicTimerByMinutesEventReceiver\\.cpp:" + std::to_string(line) + ": " + function + "Assertion `" +
         expression + "' failed";
}

TEST_F(CyclicTimerByMinutesEventReceiverDeathTest, FailedCreationEndsTheProcess) {
  EXPECT_DEATH(
      {
        const CallFault fault(Call::TimerfdCreate, EMFILE);
        const CyclicTimerByMinutesEventReceiver receiver(1, m_recorder);
      },
      deathAt(42,
              "Kelp::CyclicTimerByMinutesEventReceiver::CyclicTimerByMinutesEventReceiver\\(Kelp::TimerId_t, "
              "Kelp::TimerService::CyclicTimerByMinutesObserver&\\): ",
              "fd != -1"));
}

TEST_F(CyclicTimerByMinutesEventReceiverDeathTest, FailedClockEndsTheProcessWhileArming) {
  EXPECT_DEATH(
      {
        const CallFault fault(Call::Gettimeofday, EFAULT);
        const CyclicTimerByMinutesEventReceiver receiver(1, m_recorder);
      },
      deathAt(107, kReset, "ret == 0"));
}

TEST_F(CyclicTimerByMinutesEventReceiverDeathTest, FailedArmingEndsTheProcess) {
  EXPECT_DEATH(
      {
        const CallFault fault(Call::TimerfdSettime, EINVAL);
        const CyclicTimerByMinutesEventReceiver receiver(1, m_recorder);
      },
      deathAt(125, kReset, "ret != -1"));
}

TEST_F(CyclicTimerByMinutesEventReceiverDeathTest, FailedReadEndsTheProcess) {
  CyclicTimerByMinutesEventReceiver receiver(1, m_recorder);
  EXPECT_DEATH(
      {
        const CallFault fault(Call::Read, EIO);
        receiver.receiveAndExecuteEvent();
      },
      deathAt(71, kEvent, "false"));
}

TEST_F(CyclicTimerByMinutesEventReceiverDeathTest, FailedClockEndsTheProcessInAnEvent) {
  CyclicTimerByMinutesEventReceiver receiver(1, m_recorder);
  expireNow(receiver);
  EXPECT_DEATH(
      {
        const CallFault fault(Call::Gettimeofday, EFAULT);
        receiver.receiveAndExecuteEvent();
      },
      deathAt(81, kEvent, "ret == 0"));
}

TEST_F(CyclicTimerByMinutesEventReceiverDeathTest, FailedClockEndsTheProcessAfterANotification) {
  CyclicTimerByMinutesEventReceiver receiver(1, m_recorder);
  expireNow(receiver);
  EXPECT_DEATH(
      {
        const CallFault fault(Call::Gettimeofday, EFAULT, 1);
        receiver.receiveAndExecuteEvent();
      },
      deathAt(107, kReset, "ret == 0"));
}

}  // namespace
