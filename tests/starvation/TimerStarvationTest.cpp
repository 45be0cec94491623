// Timers from the service's creation to its end: one that counts and ends itself, and one that fires on a minute and is
// cancelled.

#include <errno.h>
#include <gtest/gtest.h>
#include <sys/timerfd.h>

#include <string>

#include "CyclicTimerByMinutesEventReceiver.h"
#include "EventLooperMultiWait.h"
#include "TimerService.h"
#include "starvation/LoopLines.h"
#include "starvation/Starvation.h"

namespace {

using Kelp::EventLooperMultiWait;
using Kelp::TimerId_t;
using Kelp::TimerService;
using KelpTest::asserts;
using KelpTest::Call;
using KelpTest::goesOn;
using KelpTest::loggedErrors;
using KelpTest::notRemovedLine;
using KelpTest::refusalLine;
using KelpTest::UncountedCalls;

constexpr int64_t kMillisecond = 1000000;  // in nanoseconds

// Whether the looper has taken the timer that is started. It tells nobody but the log.
template <typename Starting>
bool isTaken(const Starting& starting) {
  const int errors = loggedErrors();
  starting();
  return loggedErrors() == errors;
}

// Lets the minute be over at once.
void expireNow(int fd) {
  const UncountedCalls own;
  const itimerspec soon = {{60, 0}, {0, 1}};
  timerfd_settime(fd, 0, &soon, nullptr);
}

// Has the second timer started when the first one has ended, and the loop ended with that. A timer that the looper has
// refused stays for good: who cancels it ends the process.
class Observer : public TimerService::CyclicTimerObserver, public TimerService::CyclicTimerByMinutesObserver {
 public:
  explicit Observer(EventLooperMultiWait& looper) : m_looper(looper) {}

  bool start() {
    return isTaken([this] { TimerService::getInstance().startCyclicTimer(kMillisecond, 2, *this, &m_looper); });
  }

  void notifyCyclicTimer(TimerId_t /*timerId*/, int count) override {
    m_told += std::to_string(count);
    if (count == 2 && !startByMinutes()) {
      m_told += " no minute";
      m_looper.exitEventLoop();
    }
  }

  void notifyCyclicTimerByMinutes(TimerId_t timerId, const timeval& /*now*/) override {
    m_told += " minute";
    TimerService::getInstance().cancelTimer(timerId);
    m_looper.exitEventLoop();
  }

  std::string told() const { return m_told; }

 private:
  bool startByMinutes() {
    TimerService& service = TimerService::getInstance();
    const TimerId_t id = service.createTimerId();
    auto* const receiver = new Kelp::CyclicTimerByMinutesEventReceiver(id, *this);
    expireNow(receiver->getFd());
    return isTaken([&] { service.addEventReceiverToLooper(id, *receiver, nullptr); });
  }

  EventLooperMultiWait& m_looper;
  std::string m_told;
};

std::string liveInLoop() {
  EventLooperMultiWait looper;
  Observer observer(looper);
  if (!observer.start()) {
    return "no timer";
  }
  looper.runEventLoop();
  return observer.told();
}

std::string liveWithTimers() {
  TimerService::createInstance();
  std::string told = liveInLoop();
  TimerService::destroyInstance();
  return told;
}

constexpr char kAll[] = "12 minute";
constexpr char kCyclic[] = "CyclicTimerEventReceiver.cpp";
constexpr char kByMinutes[] = "CyclicTimerByMinutesEventReceiver.cpp";

}  // namespace

TEST(TimerStarvationTest, EveryCallThatFailsEndsAsStated) {
  KelpTest::Starvation starvation({nullptr, liveWithTimers, nullptr});
  starvation.expect(Call::TimerfdCreate, {asserts(kCyclic, 39, "fd != -1"), asserts(kByMinutes, 42, "fd != -1")});
  starvation.expect(Call::TimerfdSettime, {asserts(kCyclic, 50, "-1 != ret"), asserts(kByMinutes, 125, "ret != -1")});
  starvation.expect(Call::Gettimeofday, {asserts(kByMinutes, 81, "ret == 0"), asserts(kByMinutes, 107, "ret == 0")});
  starvation.expect(Call::Read, {asserts(kCyclic, 62, "false"), asserts(kByMinutes, 71, "false")});
  starvation.expect(Call::CtimeR, {goesOn(kAll)});
  starvation.expect(Call::LocaltimeR, {goesOn(kAll)});
  starvation.expect(Call::Pipe2, {asserts("ExecObjectEventReceiver.cpp", 36, "false")});
  starvation.expect(
      Call::EpollCreate1,
      {goesOn("no timer", {KelpTest::noPollerLine(), refusalLine(EBADF), refusalLine(EBADF), notRemovedLine()})
           .losing(1, 1)});
  starvation.expect(Call::EpollCtl,
                    {goesOn(kAll, {refusalLine(), notRemovedLine()}), goesOn("no timer", {refusalLine()}).losing(1, 1),
                     goesOn("12 no minute", {refusalLine()}).losing(1, 1), goesOn(kAll, {notRemovedLine()})});
  starvation.expect(Call::EpollWait, {goesOn(kAll, KelpTest::failedWaitLines())});
  starvation.expect(Call::Close,
                    {goesOn(kAll, {KelpTest::failedCloseLine()}), goesOn(kAll, {KelpTest::failedPollerCloseLine()})});
  starvation.failEachCall();
}

TEST(TimerStarvationTest, EveryNewThatFailsAbortsTheProcess) {
  KelpTest::Starvation({nullptr, liveWithTimers, nullptr}).failEachNew();
}
