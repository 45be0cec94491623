#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "EventReceiverNullObject.h"
#include "support/LogCapture.h"
#include "support/ObjectType.h"

namespace {

using Kelp::EventReceiverNullObject;

TEST(EventReceiverNullObjectTest, SeveralThreadsAtOnceGetTheSameInstance) {
  constexpr int kThreads = 8;
  std::atomic<int> arrived{0};
  std::vector<EventReceiverNullObject*> instances(kThreads, nullptr);
  std::vector<std::thread> threads;
  for (EventReceiverNullObject*& instance : instances) {
    threads.emplace_back([&] {
      arrived++;
      while (arrived < kThreads) {
        std::this_thread::yield();
      }
      instance = &EventReceiverNullObject::getInstance();
      instance->receiveAndExecuteEvent();
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const EventReceiverNullObject* instance : instances) {
    EXPECT_EQ(instance, &EventReceiverNullObject::getInstance());
  }
}

TEST(EventReceiverNullObjectTest, HasNoDescriptorAndItsObjectType) {
  const EventReceiverNullObject& instance = EventReceiverNullObject::getInstance();
  EXPECT_EQ(instance.getFd(), -1);
  EXPECT_EQ(instance.getEventLooperMultiWait(), nullptr);
  EXPECT_EQ(KelpTest::objectTypeOf(instance), 9);
}

TEST(EventReceiverNullObjectTest, DoesNothing) {
  const KelpTest::LogCapture log;
  EventReceiverNullObject::getInstance().receiveAndExecuteEvent();
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
