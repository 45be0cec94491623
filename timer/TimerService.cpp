#include "TimerService.h"

#include "CyclicTimerByMinutesEventReceiver.h"
#include "CyclicTimerEventReceiver.h"
#include "EventLooperMultiWait.h"
#include "TimerEventReceiver.h"
#include "foundation/Diagnostics.h"
#include "timer/NextTimerId.h"

namespace Kelp {

TimerService* TimerService::s_pThis = nullptr;

TimerService::CyclicTimerObserver::~CyclicTimerObserver() = default;

TimerService::CyclicTimerByMinutesObserver::~CyclicTimerByMinutesObserver() = default;

void TimerService::createInstance() {
  KELP_ASSERT_AT(62, s_pThis == nullptr, "s_pThis == __null", "static void Kelp::TimerService::createInstance()");
  s_pThis = new TimerService;
}

TimerService& TimerService::getInstance() {
  KELP_ASSERT_AT(93, s_pThis != nullptr, "s_pThis != __null",
                 "static Kelp::TimerService& Kelp::TimerService::getInstance()");
  return *s_pThis;
}

void TimerService::destroyInstance() {
  KELP_ASSERT_AT(77, s_pThis != nullptr, "s_pThis != __null", "static void Kelp::TimerService::destroyInstance()");
  delete s_pThis;
  s_pThis = nullptr;
}

TimerService::TimerService() {
  setObjectType(ObjectType_TimerService);
}

TimerService::~TimerService() = default;

TimerId_t TimerService::startCyclicTimer(int64_t interval, int maxCount, CyclicTimerObserver& observer,
                                         EventLooperMultiWait* looper) {
  KELP_ASSERT_AT(116, 0 < maxCount || maxCount == INVALID_MAX_COUNT, "0 < maxCount || maxCount == INVALID_MAX_COUNT",
                 "Kelp::TimerId_t Kelp::TimerService::startCyclicTimer(int64_t, int, "
                 "Kelp::TimerService::CyclicTimerObserver&, Kelp::EventLooperMultiWait*)");
  const TimerId_t id = createTimerId();
  addEventReceiverToLooper(id, *new CyclicTimerEventReceiver(id, interval, maxCount, observer), looper);
  return id;
}

TimerId_t TimerService::startCyclicTimer(int64_t interval, CyclicTimerObserver& observer,
                                         EventLooperMultiWait* looper) {
  return startCyclicTimer(interval, INVALID_MAX_COUNT, observer, looper);
}

TimerId_t TimerService::startCyclicTimerByMinutes(CyclicTimerByMinutesObserver& observer,
                                                  EventLooperMultiWait* looper) {
  const TimerId_t id = createTimerId();
  addEventReceiverToLooper(id, *new CyclicTimerByMinutesEventReceiver(id, observer), looper);
  return id;
}

void TimerService::cancelTimer(TimerId_t id) {
  if (id == INVALID_TIMER_ID) {
    return;
  }
  TimerEventReceiver* receiver = nullptr;
  EventLooperMultiWait* looper = nullptr;
  {
    const Mutex::ScopedLock lock(m_mutex);
    const auto found = m_activeTimers.find(id);
    if (found == m_activeTimers.end()) {
      KELP_LOG_ERROR_AT(196, "###ERROR###\n");
      return;
    }
    receiver = found->second;
    m_activeTimers.erase(found);
    looper = receiver->getEventLooperMultiWait();
    KELP_ASSERT_AT(208, looper != nullptr, "false", "void Kelp::TimerService::cancelTimer(Kelp::TimerId_t)");
  }
  looper->removeEventReceiver(*receiver);
  looper->disposeSafely(*receiver);
}

void TimerService::addEventReceiverToLooper(TimerId_t id, TimerEventReceiver& receiver, EventLooperMultiWait* looper) {
  if (looper == nullptr) {
    looper = EventLooper::getRunningLooperMultiWait();
  }
  KELP_ASSERT_AT(262, looper != nullptr, "false",
                 "void Kelp::TimerService::addEventReceiverToLooper(Kelp::TimerId_t, Kelp::TimerEventReceiver&, "
                 "Kelp::EventLooperMultiWait*)");
  {
    const Mutex::ScopedLock lock(m_mutex);
    m_activeTimers[id] = &receiver;
  }
  looper->addEventReceiver(receiver);
}

TimerId_t TimerService::createTimerId() {
  static TimerId_t s_timerIdCounter = 0;  // goes on where it was when the service is created again
  const Mutex::ScopedLock lock(m_mutex);
  s_timerIdCounter = nextTimerId(s_timerIdCounter, m_activeTimers);
  return s_timerIdCounter;
}

}  // namespace Kelp
