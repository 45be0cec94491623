#include "CyclicTimerEventReceiver.h"

#include <sys/timerfd.h>

#include <climits>

#include "foundation/Diagnostics.h"

namespace Kelp {

namespace {

constexpr int64_t kNanosecondsPerSecond = 1000000000;
constexpr char kConstructor[] =
    "Kelp::CyclicTimerEventReceiver::CyclicTimerEventReceiver(Kelp::TimerId_t, int64_t, int, "
    "Kelp::TimerService::CyclicTimerObserver&)";

timespec timespecOf(int64_t nanoseconds) {
  timespec time = {};
  time.tv_sec = static_cast<decltype(time.tv_sec)>(nanoseconds / kNanosecondsPerSecond);
  time.tv_nsec = static_cast<decltype(time.tv_nsec)>(nanoseconds % kNanosecondsPerSecond);
  return time;
}

}  // namespace

CyclicTimerEventReceiver::CyclicTimerEventReceiver(TimerId_t timerId, int64_t interval, int maxCount,
                                                   TimerService::CyclicTimerObserver& observer)
    : TimerEventReceiver(timerId), m_maxCount(maxCount), m_count(0), m_observer(observer) {
  setObjectType(ObjectType_CyclicTimerEventReceiver);
  const int fd = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  KELP_ASSERT_AT(39, fd != -1, "fd != -1", kConstructor);
  setFd(fd);
  const itimerspec expiry = {timespecOf(interval), timespecOf(interval)};
  const int ret = ::timerfd_settime(fd, 0, &expiry, nullptr);
  KELP_ASSERT_AT(50, -1 != ret, "-1 != ret", kConstructor);
}

CyclicTimerEventReceiver::~CyclicTimerEventReceiver() = default;

void CyclicTimerEventReceiver::receiveAndExecuteEvent() {
  uint64_t expiryCount = 0;
  constexpr int kSize = static_cast<int>(sizeof(expiryCount));
  KELP_ASSERT_AT(62, getFdOperator().read(&expiryCount, kSize, -1) == kSize, "false",
                 "virtual void Kelp::CyclicTimerEventReceiver::receiveAndExecuteEvent()");
  m_count = m_count == INT_MAX ? INT_MIN : m_count + 1;  // an unlimited timer outlives its counter's range
  const bool isLimited = m_maxCount != TimerService::INVALID_MAX_COUNT;
  if (isLimited && m_count > m_maxCount) {
    return;
  }
  m_observer.notifyCyclicTimer(getTimerId(), m_count);
  if (isLimited && m_count == m_maxCount) {
    cancelMeSafely();
  }
}

}  // namespace Kelp
