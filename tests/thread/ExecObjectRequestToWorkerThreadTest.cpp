#include <gtest/gtest.h>
#include <poll.h>

#include "ExecObjectEventReceiver.h"
#include "ExecObjectRequestToWorkerThread.h"
#include "support/ObjectType.h"
#include "thread/WorkerActors.h"

namespace {

using Kelp::ExecObjectEventReceiver;
using Kelp::ExecObjectRequestToWorkerThread;
using Kelp::WorkerThreadExecId_t;
using KelpTest::FunctionObserver;
using KelpTest::FunctionRequest;

bool isEmpty(const ExecObjectEventReceiver& channel) {
  pollfd poll = {channel.getFd(), POLLIN, 0};
  return ::poll(&poll, 1, 0) == 0;
}

TEST(ExecObjectRequestToWorkerThreadTest, HasItsTypeNumber) {
  FunctionRequest request;
  FunctionObserver observer;
  ExecObjectEventReceiver back;
  EXPECT_EQ(KelpTest::objectTypeOf(ExecObjectRequestToWorkerThread(1, request, observer, back.getSender())), 14);
}

TEST(ExecObjectRequestToWorkerThreadTest, SendsTheAnswerWhenTheRequestHasBeenExecuted) {
  ExecObjectEventReceiver back;
  bool isExecuted = false;
  FunctionRequest request([&] {
    EXPECT_TRUE(isEmpty(back));
    isExecuted = true;
  });
  WorkerThreadExecId_t notifiedId = -1;
  FunctionObserver observer([&](WorkerThreadExecId_t id, FunctionObserver::Request& notified) {
    notifiedId = id;
    EXPECT_EQ(&notified, &request);
  });
  ExecObjectRequestToWorkerThread(77, request, observer, back.getSender()).doExecute();
  EXPECT_TRUE(isExecuted);
  EXPECT_EQ(notifiedId, -1);
  ASSERT_FALSE(isEmpty(back));
  back.receiveAndExecuteEvent();
  EXPECT_EQ(notifiedId, 77);
  EXPECT_TRUE(isEmpty(back));
}

}  // namespace
