#include <gtest/gtest.h>

#include <thread>

#include "EventLooperSingleWait.h"
#include "ExecObjectEventReceiver.h"
#include "ExecObjectEventSender.h"
#include "ExecObjectPthreadExit.h"
#include "support/CallFaults.h"
#include "support/LogCapture.h"
#include "support/LoopActors.h"
#include "support/ObjectType.h"

namespace {

using Kelp::EventLooper;
using Kelp::EventLooperSingleWait;
using Kelp::ExecObjectEventReceiver;
using Kelp::ExecObjectPthreadExit;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::FunctionExecObject;
using KelpTest::PipeReceiver;

TEST(EventLooperSingleWaitTest, HasItsTypeAndObjectType) {
  PipeReceiver receiver;
  const EventLooperSingleWait looper(receiver);
  EXPECT_EQ(looper.getEventLooperType(), EventLooper::EVENT_LOOPER_TYPE_SINGLE_WAIT);
  EXPECT_EQ(KelpTest::objectTypeOf(looper), 7);
}

TEST(EventLooperSingleWaitTest, PassCallsTheReceiverOnce) {
  PipeReceiver receiver;
  EventLooperSingleWait looper(receiver);
  receiver.trigger();
  receiver.trigger();
  looper.processEvent();
  EXPECT_EQ(receiver.calls(), 1);
}

TEST(EventLooperSingleWaitTest, LeavesTheReceiverWithoutALooper) {
  PipeReceiver receiver;
  const EventLooperSingleWait looper(receiver);
  EXPECT_EQ(receiver.getEventLooperMultiWait(), nullptr);
}

TEST(EventLooperSingleWaitTest, RunsUntilTheReceiverTellsItToExit) {
  EventLooperSingleWait* pLooper = nullptr;
  PipeReceiver receiver([&] { pLooper->exitEventLoop(); });
  EventLooperSingleWait looper(receiver);
  pLooper = &looper;
  receiver.trigger();
  receiver.trigger();
  looper.runEventLoop();
  EXPECT_EQ(receiver.calls(), 1);
}

TEST(EventLooperSingleWaitTest, ExitOnlySetsTheFlag) {
  ExecObjectEventReceiver receiver;
  EventLooperSingleWait looper(receiver);
  const KelpTest::LogCapture log;
  const int writes = callCount(Call::Write);
  looper.exitEventLoop();
  EXPECT_TRUE(looper.needsExit());
  EXPECT_EQ(callCount(Call::Write), writes);
  EXPECT_TRUE(log.lines().empty());
}

TEST(EventLooperSingleWaitTest, ExitObjectEndsTheLoopOnAnotherThread) {
  ExecObjectEventReceiver receiver;
  EventLooperSingleWait looper(receiver);
  int executed = 0;
  std::thread thread([&] { looper.runEventLoop(); });
  receiver.getSender().send(*new FunctionExecObject([&] { executed++; }));
  receiver.getSender().send(*new ExecObjectPthreadExit);
  thread.join();
  EXPECT_EQ(executed, 1);
  EXPECT_TRUE(looper.needsExit());
}

TEST(EventLooperSingleWaitTest, IsNotFoundAsAMultiWaitLooper) {
  ExecObjectEventReceiver receiver;
  EventLooperSingleWait looper(receiver);
  receiver.getSender().send(*new FunctionExecObject([&] {
    EXPECT_EQ(EventLooper::getRunningLooper(), &looper);
    EXPECT_EQ(EventLooper::getRunningLooperMultiWait(), nullptr);
  }));
  receiver.getSender().send(*new ExecObjectPthreadExit);
  looper.runEventLoop();
}

}  // namespace
