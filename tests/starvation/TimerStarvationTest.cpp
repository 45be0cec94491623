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

// Ends the loop when both kinds of timer have told it.
class Observer : public TimerService::CyclicTimerObserver, public TimerService::CyclicTimerByMinutesObserver {
 public:
  explicit Observer(EventLooperMultiWait& looper) : m_looper(looper) {}

  void notifyCyclicTimer(TimerId_t /*timerId*/, int count) override {
    m_counts += count;
    exitWhenDone();
  }

  void notifyCyclicTimerByMinutes(TimerId_t timerId, const timeval& /*now*/) override {
    m_minutes++;
    TimerService::getInstance().cancelTimer(timerId);
    exitWhenDone();
  }

  std::string told() const { return std::to_string(m_counts) + " " + std::to_string(m_minutes); }

 private:
  void exitWhenDone() {
    if (m_counts == 1 + 2 && m_minutes == 1) {
      m_looper.exitEventLoop();
    }
  }

  EventLooperMultiWait& m_looper;
  int m_counts = 0;
  int m_minutes = 0;
};

// Lets the minute be over at once.
void expireNow(int fd) {
  const UncountedCalls own;
  const itimerspec soon = {{60, 0}, {0, 1}};
  timerfd_settime(fd, 0, &soon, nullptr);
}

// Whether the looper has taken the timer that is started. It tells nobody but the log.
template <typename Starting>
bool isTaken(const Starting& starting) {
  const int errors = loggedErrors();
  starting();
  return loggedErrors() == errors;
}

// A timer that the looper has refused stays for good: who cancels it ends the process.
std::string liveInLoop() {
  TimerService& service = TimerService::getInstance();
  EventLooperMultiWait looper;
  Observer observer(looper);
  TimerId_t id = Kelp::INVALID_TIMER_ID;
  if (!isTaken([&] { id = service.startCyclicTimer(kMillisecond, 2, observer, &looper); })) {
    return "no timer";
  }
  const TimerId_t minuteId = service.createTimerId();
  auto* const minutes = new Kelp::CyclicTimerByMinutesEventReceiver(minuteId, observer);
  expireNow(minutes->getFd());
  if (!isTaken([&] { service.addEventReceiverToLooper(minuteId, *minutes, &looper); })) {
    service.cancelTimer(id);
    return "no timer by minutes";
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

constexpr char kCyclic[] = "CyclicTimerEventReceiver.cpp";
constexpr char kByMinutes[] = "CyclicTimerByMinutesEventReceiver.cpp";

}  // namespace

TEST(TimerStarvationTest, EveryCallThatFailsEndsAsStated) {
  KelpTest::Starvation starvation({nullptr, liveWithTimers, nullptr});
  starvation.expect(Call::TimerfdCreate, {asserts(kCyclic, 39, "fd != -1"), asserts(kByMinutes, 42, "fd != -1")});
  starvation.expect(Call::TimerfdSettime, {asserts(kCyclic, 50, "-1 != ret"), asserts(kByMinutes, 125, "ret != -1")});
  starvation.expect(Call::Gettimeofday, {asserts(kByMinutes, 81, "ret == 0"), asserts(kByMinutes, 107, "ret == 0")});
  starvation.expect(Call::Read, {asserts(kCyclic, 62, "false"), asserts(kByMinutes, 71, "false")});
  starvation.expect(Call::CtimeR, {goesOn("3 1")});
  starvation.expect(Call::LocaltimeR, {goesOn("3 1")});
  starvation.expect(Call::Pipe2, {asserts("ExecObjectEventReceiver.cpp", 36, "false")});
  starvation.expect(
      Call::EpollCreate1,
      {goesOn("no timer", {KelpTest::noPollerLine(), refusalLine(EBADF), refusalLine(EBADF), notRemovedLine()})
           .losing(1, 1)});
  starvation.expect(Call::EpollCtl,
                    {goesOn("3 1", {refusalLine(), notRemovedLine()}), goesOn("no timer", {refusalLine()}).losing(1, 1),
                     goesOn("no timer by minutes", {refusalLine()}).losing(1, 1), goesOn("3 1", {notRemovedLine()})});
  starvation.expect(Call::EpollWait, {goesOn("3 1", KelpTest::failedWaitLines())});
  starvation.expect(Call::Close,
                    {goesOn("3 1", {KelpTest::failedCloseLine()}), goesOn("3 1", {KelpTest::failedPollerCloseLine()})});
  starvation.failEachCall();
}

TEST(TimerStarvationTest, EveryNewThatFailsAbortsTheProcess) {
  KelpTest::Starvation({nullptr, liveWithTimers, nullptr}).failEachNew();
}
