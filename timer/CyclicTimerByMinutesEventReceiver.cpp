#include "CyclicTimerByMinutesEventReceiver.h"

#include <stdint.h>
#include <sys/timerfd.h>
#include <time.h>

#include "foundation/Diagnostics.h"
#include "timer/MinuteExpiry.h"

namespace Kelp {

namespace {

constexpr int kTimeTextSize = 26;  // what ctime_r() may write
constexpr char kReceiveAndExecuteEvent[] =
    "virtual void Kelp::CyclicTimerByMinutesEventReceiver::receiveAndExecuteEvent()";
constexpr char kResetTimerfd[] = "void Kelp::CyclicTimerByMinutesEventReceiver::resetTimerfd()";

}  // namespace

CyclicTimerByMinutesEventReceiver::CyclicTimerByMinutesEventReceiver(
    TimerId_t timerId, TimerService::CyclicTimerByMinutesObserver& observer)
    : TimerEventReceiver(timerId), m_observer(observer) {
  setObjectType(ObjectType_CyclicTimerByMinutesEventReceiver);
  const int fd = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  KELP_ASSERT_AT(42, fd != -1, "fd != -1",
                 "Kelp::CyclicTimerByMinutesEventReceiver::CyclicTimerByMinutesEventReceiver(Kelp::TimerId_t, "
                 "Kelp::TimerService::CyclicTimerByMinutesObserver&)");
  setFd(fd);
  resetTimerfd();
}

CyclicTimerByMinutesEventReceiver::~CyclicTimerByMinutesEventReceiver() = default;

void CyclicTimerByMinutesEventReceiver::receiveAndExecuteEvent() {
  uint64_t expiryCount = 0;
  constexpr int kSize = static_cast<int>(sizeof(expiryCount));
  KELP_ASSERT_AT(71, getFdOperator().read(&expiryCount, kSize, -1) == kSize, "false", kReceiveAndExecuteEvent);
  timeval now;
  const int ret = ::gettimeofday(&now, nullptr);
  KELP_ASSERT_AT(81, ret == 0, "ret == 0", kReceiveAndExecuteEvent);
  char text[kTimeTextSize] = "";
  ::ctime_r(&now.tv_sec, text);
  KELP_LOG_TRACE_AT(82, "%s\n", text);
  KELP_LOG_TRACE_AT(83, "usec=%ld\n", static_cast<long>(now.tv_usec));
  m_observer.notifyCyclicTimerByMinutes(getTimerId(), now);
  resetTimerfd();
}

void CyclicTimerByMinutesEventReceiver::resetTimerfd() {
  timeval tv;
  const int clockResult = ::gettimeofday(&tv, nullptr);
  KELP_ASSERT_AT(107, clockResult == 0, "ret == 0", kResetTimerfd);
  tm localTime = {};
  ::localtime_r(&tv.tv_sec, &localTime);
  const itimerspec expiry = minuteExpiry(localTime.tm_sec, static_cast<long>(tv.tv_usec));
  const int ret = ::timerfd_settime(getFd(), 0, &expiry, nullptr);
  KELP_ASSERT_AT(125, ret != -1, "ret != -1", kResetTimerfd);
}

}  // namespace Kelp
