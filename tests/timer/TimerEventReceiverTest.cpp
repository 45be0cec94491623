#include <gtest/gtest.h>

#include <memory>

#include "EventLooperMultiWait.h"
#include "TimerEventReceiver.h"
#include "support/Descriptors.h"
#include "support/LogCapture.h"
#include "support/ObjectType.h"
#include "support/Pipe.h"

namespace {

using Kelp::Disposable;
using Kelp::EventLooperMultiWait;
using Kelp::TimerEventReceiver;
using Kelp::TimerId_t;
using Kelp::TimerService;
using KelpTest::Pipe;

// Ready as soon as its descriptor is; tells of its end.
class ReadyTimer : public TimerEventReceiver {
 public:
  ReadyTimer(TimerId_t id, bool& isDeleted) : TimerEventReceiver(id), m_isDeleted(isDeleted) {}
  ~ReadyTimer() override { m_isDeleted = true; }
  void receiveAndExecuteEvent() override {
    cancelMeSafely();
    EXPECT_FALSE(m_isDeleted);
  }

 private:
  bool& m_isDeleted;
};

TEST(TimerEventReceiverTest, KeepsItsIdAndStartsWithoutADescriptor) {
  bool isDeleted = false;
  const ReadyTimer timer(-7, isDeleted);
  EXPECT_EQ(timer.getTimerId(), -7);
  EXPECT_EQ(timer.getFd(), -1);
  EXPECT_EQ(KelpTest::objectTypeOf(timer), 0);
}

TEST(TimerEventReceiverTest, DeletionAsADisposableClosesTheDescriptor) {
  bool isDeleted = false;
  Pipe pipe;
  const int fd = pipe.takeReadEnd();
  auto timer = std::make_unique<ReadyTimer>(1, isDeleted);
  timer->setFd(fd);
  std::unique_ptr<Disposable> disposable = std::move(timer);
  disposable.reset();
  EXPECT_TRUE(isDeleted);
  EXPECT_FALSE(KelpTest::isOpen(fd));
}

TEST(TimerEventReceiverTest, CancelsItselfInItsOwnCallAndLivesUntilThePassIsOver) {
  TimerService::createInstance();
  bool isDeleted = false;
  Pipe pipe;
  pipe.fill();
  auto looper = std::make_unique<EventLooperMultiWait>();
  TimerService& service = TimerService::getInstance();
  const TimerId_t id = service.createTimerId();
  auto* timer = new ReadyTimer(id, isDeleted);
  timer->setFd(pipe.takeReadEnd());
  service.addEventReceiverToLooper(id, *timer, looper.get());
  EXPECT_EQ(timer->getEventLooperMultiWait(), looper.get());
  const KelpTest::LogCapture log;
  looper->processEvent();
  EXPECT_FALSE(isDeleted);
  EXPECT_TRUE(log.lines().empty());
  looper.reset();
  EXPECT_TRUE(isDeleted);
  TimerService::destroyInstance();
}

}  // namespace
