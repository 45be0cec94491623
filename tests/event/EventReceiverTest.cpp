#include <gtest/gtest.h>

#include "EventLooperMultiWait.h"
#include "EventReceiver.h"
#include "support/Descriptors.h"
#include "support/LogCapture.h"
#include "support/ObjectType.h"
#include "support/Pipe.h"

namespace {

using Kelp::EventReceiver;
using KelpTest::isOpen;
using KelpTest::Pipe;

class IdleReceiver : public EventReceiver {
 public:
  using EventReceiver::EventReceiver;
  void receiveAndExecuteEvent() override {}
};

TEST(EventReceiverTest, StartsWithoutADescriptor) {
  EXPECT_EQ(IdleReceiver(true).getFd(), -1);
}

TEST(EventReceiverTest, TakesTheGivenDescriptor) {
  EXPECT_EQ(IdleReceiver(7, false).getFd(), 7);
}

TEST(EventReceiverTest, SetFdReplacesTheDescriptorWithoutClosingIt) {
  const Pipe pipe;
  IdleReceiver receiver(pipe.readEnd(), true);
  receiver.setFd(-1);
  EXPECT_EQ(receiver.getFd(), -1);
  EXPECT_TRUE(isOpen(pipe.readEnd()));
}

TEST(EventReceiverTest, DestructionClosesTheDescriptorWhenToldTo) {
  Pipe pipe;
  const int fd = pipe.takeReadEnd();
  { const IdleReceiver receiver(fd, true); }
  EXPECT_FALSE(isOpen(fd));
}

TEST(EventReceiverTest, DestructionClosesADescriptorThatWasSetLater) {
  Pipe pipe;
  const int fd = pipe.takeReadEnd();
  {
    IdleReceiver receiver(true);
    receiver.setFd(fd);
  }
  EXPECT_FALSE(isOpen(fd));
}

TEST(EventReceiverTest, DestructionLeavesTheDescriptorOpenOtherwise) {
  const Pipe pipe;
  { const IdleReceiver receiver(pipe.readEnd(), false); }
  EXPECT_TRUE(isOpen(pipe.readEnd()));
}

TEST(EventReceiverTest, BelongsToNoLooperUntilOneIsSet) {
  IdleReceiver receiver(true);
  EXPECT_EQ(receiver.getEventLooperMultiWait(), nullptr);
  Kelp::EventLooperMultiWait looper;
  receiver.setEventLooperMultiWait(&looper);
  EXPECT_EQ(receiver.getEventLooperMultiWait(), &looper);
  receiver.setEventLooperMultiWait(nullptr);
  EXPECT_EQ(receiver.getEventLooperMultiWait(), nullptr);
}

TEST(EventReceiverTest, SetsNoObjectTypeOfItsOwn) {
  EXPECT_EQ(KelpTest::objectTypeOf(IdleReceiver(true)), 0);
}

}  // namespace
