// A loop from its building to its end: a receiver is served, removed and deleted, another thread has the loop do
// something, and then ends it.

#include <errno.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <thread>

#include "EventLooperMultiWait.h"
#include "EventReceiver.h"
#include "ExecObjectEventSender.h"
#include "starvation/LoopLines.h"
#include "starvation/Signal.h"
#include "starvation/Starvation.h"
#include "support/LoopActors.h"
#include "support/Pipe.h"

namespace {

using Kelp::EventLooperMultiWait;
using KelpTest::asserts;
using KelpTest::Call;
using KelpTest::goesOn;
using KelpTest::loggedErrors;
using KelpTest::notRemovedLine;
using KelpTest::refusalLine;
using KelpTest::Signal;
using KelpTest::UncountedCalls;

// Reads one byte, and is removed and deleted then.
class OneByteReceiver : public Kelp::EventReceiver, public Kelp::Disposable {
 public:
  OneByteReceiver(int fd, Signal& isDeleted) : EventReceiver(fd, true), m_isDeleted(isDeleted) {}
  ~OneByteReceiver() override { m_isDeleted.set(); }

  void receiveAndExecuteEvent() override {
    char byte = 0;
    if (getFdOperator().read(&byte, 1, -1) != 1) {
      return;
    }
    EventLooperMultiWait* const looper = getEventLooperMultiWait();
    looper->removeEventReceiver(*this);
    looper->disposeSafely(*this);
  }

 private:
  Signal& m_isDeleted;
};

// A descriptor from which one byte can be read.
int readableFd() {
  const UncountedCalls own;
  KelpTest::Pipe pipe;
  EXPECT_EQ(write(pipe.writeEnd(), "a", 1), 1);
  return pipe.takeReadEnd();
}

// An object that could not be sent is lost, and only the log tells.
template <typename Sending>
void repeatUntilSent(const Sending& sending) {
  int errors = 0;
  do {
    errors = loggedErrors("ExecObjectEventSender.cpp");
    sending();
  } while (loggedErrors("ExecObjectEventSender.cpp") > errors);
}

std::string liveWithALoop() {
  EventLooperMultiWait looper;
  if (loggedErrors() > 0) {
    return "no loop";
  }
  Signal isDeleted;
  auto receiver = std::make_unique<OneByteReceiver>(readableFd(), isDeleted);
  if (!looper.addEventReceiver(*receiver)) {
    return "no receiver";
  }
  receiver.release();
  Signal isExecuted;
  std::thread loop([&looper] { looper.runEventLoop(); });
  isDeleted.wait();
  repeatUntilSent([&] {
    looper.getExecObjectEventSender().send(*new KelpTest::FunctionExecObject([&isExecuted] { isExecuted.set(); }));
  });
  isExecuted.wait();
  repeatUntilSent([&looper] { looper.exitEventLoop(); });
  loop.join();
  return "lived";
}

// The object that wakes the loop for its end is never read.
KelpTest::Scenario loopScenario() {
  return {nullptr, liveWithALoop, nullptr, 1, true};
}

}  // namespace

TEST(LoopStarvationTest, EveryCallThatFailsEndsAsStated) {
  KelpTest::Starvation starvation(loopScenario());
  starvation.expect(Call::Pipe2, {asserts("ExecObjectEventReceiver.cpp", 36, "false")});
  starvation.expect(Call::EpollCreate1,
                    {goesOn("no loop", {KelpTest::noPollerLine(), refusalLine(EBADF), notRemovedLine()}).losing(-1)});
  starvation.expect(Call::EpollCtl,
                    {goesOn("no loop", {refusalLine(), notRemovedLine()}).losing(-1),
                     goesOn("no receiver", {refusalLine()}).losing(-1), goesOn("lived", {notRemovedLine()})});
  starvation.expect(Call::EpollWait, {goesOn("lived", KelpTest::failedWaitLines())});
  starvation.expect(Call::Read, {goesOn("lived"), goesOn("lived", {KelpTest::unreadObjectLine()})});
  starvation.expect(Call::Write, {goesOn("lived", {KelpTest::lostObjectLine()}).losing(1)});
  starvation.expect(Call::Close, {goesOn("lived", {KelpTest::failedCloseLine()}),
                                  goesOn("lived", {KelpTest::failedPollerCloseLine()})});
  starvation.failEachCall();
}

TEST(LoopStarvationTest, EveryNewThatFailsAbortsTheProcess) {
  KelpTest::Starvation(loopScenario()).failEachNew();
}
