#include <errno.h>
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "EventPoller.h"
#include "EventReceiverNullObject.h"
#include "support/CallFaults.h"
#include "support/Descriptors.h"
#include "support/LogCapture.h"
#include "support/LoopActors.h"
#include "support/ObjectType.h"
#include "support/SignalStorm.h"

namespace {

using Kelp::EventPoller;
using Kelp::EventReceiver;
using Kelp::EventReceiverNullObject;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::isOpen;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::PipeReceiver;

LogLine error(int line, const std::string& function, const std::string& message = "###ERROR###\n") {
  return errorLine("EventPoller.cpp", line, function, message);
}

const EventReceiver* nullObject() {
  return &EventReceiverNullObject::getInstance();
}

// On a descriptor that a test chooses.
class FdReceiver : public EventReceiver {
 public:
  explicit FdReceiver(int fd) : EventReceiver(fd, false) {}
  void receiveAndExecuteEvent() override {}
};

TEST(EventPollerTest, RegistersUnderItsObjectType) {
  EXPECT_EQ(KelpTest::objectTypeOf(EventPoller()), 8);
}

TEST(EventPollerTest, DescriptorIsCloseOnExecAndClosedAtTheEnd) {
  const int fd = KelpTest::nextFreeFd();
  {
    const EventPoller poller;
    EXPECT_TRUE(KelpTest::isCloseOnExec(fd));
  }
  EXPECT_FALSE(isOpen(fd));
}

TEST(EventPollerTest, FailedCreationIsLoggedAndEveryLaterCallFails) {
  const LogCapture log;
  {
    const CallFault fault(Call::EpollCreate1, EMFILE);
    EventPoller poller;
    PipeReceiver receiver;
    EXPECT_FALSE(poller.addEventReceiver(receiver));
    EXPECT_EQ(poller.poll(), -1);
    EXPECT_EQ(&poller.getReadyEventReceiver(0), nullObject());
    poller.removeEventReceiver(receiver);
  }
  EXPECT_EQ(log.lines(),
            (std::vector<LogLine>{
                error(36, "EventPoller"),
                error(65, "addEventReceiver", "###ERROR### epoll_ctl(EPOLL_CTL_ADD) returns error. (errno=9)\n"),
                error(111, "poll", "###ERROR### errno = 9\n"), error(84, "removeEventReceiver")}));
}

TEST(EventPollerTest, FailedCloseIsLogged) {
  auto poller = std::make_unique<EventPoller>();
  const LogCapture log;
  {
    const CallFault fault(Call::Close, EIO);
    poller.reset();
  }
  EXPECT_EQ(log.lines(), std::vector<LogLine>{error(49, "~EventPoller")});
}

TEST(EventPollerTest, DestructionLeavesTheReceiversAlone) {
  PipeReceiver receiver;
  const LogCapture log;
  {
    EventPoller poller;
    ASSERT_TRUE(poller.addEventReceiver(receiver));
  }
  EXPECT_TRUE(isOpen(receiver.getFd()));
  EXPECT_TRUE(log.lines().empty());
}

// --- adding

TEST(EventPollerTest, AddingAReceiverWithoutADescriptorFailsWithAnErrorLine) {
  EventPoller poller;
  FdReceiver receiver(-1);
  const LogCapture log;
  EXPECT_FALSE(poller.addEventReceiver(receiver));
  EXPECT_EQ(log.lines(),
            std::vector<LogLine>{
                error(65, "addEventReceiver", "###ERROR### epoll_ctl(EPOLL_CTL_ADD) returns error. (errno=9)\n")});
}

TEST(EventPollerTest, AddingAReceiverTwiceFailsWithAnErrorLine) {
  EventPoller poller;
  PipeReceiver receiver;
  ASSERT_TRUE(poller.addEventReceiver(receiver));
  const LogCapture log;
  EXPECT_FALSE(poller.addEventReceiver(receiver));
  EXPECT_EQ(log.lines(),
            std::vector<LogLine>{
                error(65, "addEventReceiver", "###ERROR### epoll_ctl(EPOLL_CTL_ADD) returns error. (errno=17)\n")});
}

// --- polling

TEST(EventPollerTest, PollFindsTheReadyReceivers) {
  EventPoller poller;
  PipeReceiver idle;
  PipeReceiver ready;
  poller.addEventReceiver(idle);
  poller.addEventReceiver(ready);
  ready.trigger();
  EXPECT_EQ(poller.poll(), 1);
  EXPECT_EQ(&poller.getReadyEventReceiver(0), &ready);
}

TEST(EventPollerTest, PollReportsAgainWhatWasLeftUndone) {
  EventPoller poller;
  PipeReceiver receiver;
  poller.addEventReceiver(receiver);
  receiver.trigger();
  EXPECT_EQ(poller.poll(), 1);
  EXPECT_EQ(poller.poll(), 1);
  EXPECT_EQ(&poller.getReadyEventReceiver(0), &receiver);
}

TEST(EventPollerTest, PollBlocksUntilSomethingIsReady) {
  EventPoller poller;
  PipeReceiver receiver;
  poller.addEventReceiver(receiver);
  std::thread trigger([&] { receiver.trigger(); });
  EXPECT_EQ(poller.poll(), 1);
  trigger.join();
}

TEST(EventPollerTest, WritableDescriptorIsNotReady) {
  EventPoller poller;
  const KelpTest::Pipe pipe;
  FdReceiver writable(pipe.writeEnd());
  PipeReceiver readable;
  poller.addEventReceiver(writable);
  poller.addEventReceiver(readable);
  readable.trigger();
  EXPECT_EQ(poller.poll(), 1);
  EXPECT_EQ(&poller.getReadyEventReceiver(0), &readable);
}

TEST(EventPollerTest, OneWaitFindsAtMost16AndTheNextOnesTheRest) {
  constexpr size_t kCount = 20;
  EventPoller poller;
  std::vector<std::unique_ptr<PipeReceiver>> receivers;
  for (size_t i = 0; i < kCount; i++) {
    receivers.push_back(std::make_unique<PipeReceiver>());
    poller.addEventReceiver(*receivers.back());
    receivers.back()->trigger();
  }
  std::set<const EventReceiver*> found;
  const auto takeAll = [&](int count) {
    for (int i = 0; i < count; i++) {
      found.insert(&poller.getReadyEventReceiver(i));
      poller.getReadyEventReceiver(i).receiveAndExecuteEvent();
    }
  };
  EXPECT_EQ(poller.poll(), 16);
  EXPECT_EQ(&poller.getReadyEventReceiver(16), nullObject());
  takeAll(16);
  EXPECT_EQ(poller.poll(), 4);
  takeAll(4);
  EXPECT_EQ(found.size(), kCount);
}

TEST(EventPollerTest, InterruptedWaitGoesOnWithoutALogLine) {
  EventPoller poller;
  PipeReceiver receiver;
  poller.addEventReceiver(receiver);
  receiver.trigger();
  const LogCapture log;
  const int waits = callCount(Call::EpollWait);
  const CallFault fault(Call::EpollWait, EINTR, 0, 2);
  EXPECT_EQ(poller.poll(), 1);
  EXPECT_EQ(callCount(Call::EpollWait), waits + 3);
  EXPECT_TRUE(log.lines().empty());
}

TEST(EventPollerTest, PollSurvivesAStormOfSignals) {
  EventPoller poller;
  PipeReceiver receiver;
  poller.addEventReceiver(receiver);
  const LogCapture log;
  const int waits = callCount(Call::EpollWait);
  const KelpTest::SignalStorm storm;
  std::thread trigger([&] {
    storm.waitForMoreHits(50);
    receiver.trigger();
  });
  EXPECT_EQ(poller.poll(), 1);
  trigger.join();
  EXPECT_GT(callCount(Call::EpollWait), waits + 1);
  EXPECT_TRUE(log.lines().empty());
}

TEST(EventPollerTest, FailedWaitReturnsMinus1WithAnErrorLineAndNothingIsReady) {
  EventPoller poller;
  PipeReceiver receiver;
  poller.addEventReceiver(receiver);
  receiver.trigger();
  ASSERT_EQ(poller.poll(), 1);
  const LogCapture log;
  const CallFault fault(Call::EpollWait, EIO);
  EXPECT_EQ(poller.poll(), -1);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{error(111, "poll", "###ERROR### errno = 5\n")});
  EXPECT_EQ(&poller.getReadyEventReceiver(0), nullObject());
}

// --- taking

TEST(EventPollerTest, NothingIsReadyBeforeTheFirstPoll) {
  EventPoller poller;
  for (const int index : {INT_MIN, -2, -1, 0, 1, INT_MAX}) {
    EXPECT_EQ(&poller.getReadyEventReceiver(index), nullObject()) << index;
  }
}

TEST(EventPollerTest, IndexOutOfRangeYieldsTheNullObject) {
  EventPoller poller;
  PipeReceiver receiver;
  poller.addEventReceiver(receiver);
  receiver.trigger();
  ASSERT_EQ(poller.poll(), 1);
  for (const int index : {INT_MIN, -2, -1, 1, 16, INT_MAX}) {
    EXPECT_EQ(&poller.getReadyEventReceiver(index), nullObject()) << index;
  }
}

// --- removing

TEST(EventPollerTest, RemovalEmptiesTheReadyList) {
  EventPoller poller;
  PipeReceiver first;
  PipeReceiver second;
  for (PipeReceiver* receiver : {&first, &second}) {
    poller.addEventReceiver(*receiver);
    receiver->trigger();
  }
  ASSERT_EQ(poller.poll(), 2);
  const LogCapture log;
  poller.removeEventReceiver(first);
  for (const int index : {-2, -1, 0, 1, 2}) {
    EXPECT_EQ(&poller.getReadyEventReceiver(index), nullObject()) << index;
  }
  EXPECT_TRUE(log.lines().empty());
}

TEST(EventPollerTest, RemovedReceiverIsNotFoundAgain) {
  EventPoller poller;
  PipeReceiver removed;
  PipeReceiver kept;
  for (PipeReceiver* receiver : {&removed, &kept}) {
    poller.addEventReceiver(*receiver);
    receiver->trigger();
  }
  poller.removeEventReceiver(removed);
  EXPECT_EQ(poller.poll(), 1);
  EXPECT_EQ(&poller.getReadyEventReceiver(0), &kept);
}

TEST(EventPollerTest, FailedRemovalIsLoggedAndEmptiesTheReadyListToo) {
  EventPoller poller;
  PipeReceiver ready;
  PipeReceiver stranger;
  poller.addEventReceiver(ready);
  ready.trigger();
  ASSERT_EQ(poller.poll(), 1);
  const LogCapture log;
  poller.removeEventReceiver(stranger);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{error(84, "removeEventReceiver")});
  EXPECT_EQ(&poller.getReadyEventReceiver(0), nullObject());
}

}  // namespace
