#include <gtest/gtest.h>

#include <vector>

#include "ExecObjectReturnFromWorkerThread.h"
#include "support/ObjectType.h"
#include "thread/WorkerActors.h"

namespace {

using Kelp::ExecObjectReturnFromWorkerThread;
using Kelp::WorkerThreadExecId_t;
using KelpTest::FunctionObserver;
using KelpTest::FunctionRequest;

TEST(ExecObjectReturnFromWorkerThreadTest, HasItsTypeNumber) {
  FunctionRequest request;
  FunctionObserver observer;
  EXPECT_EQ(KelpTest::objectTypeOf(ExecObjectReturnFromWorkerThread(1, request, observer)), 15);
}

TEST(ExecObjectReturnFromWorkerThreadTest, NotifiesTheObserverOfTheRequestWithoutExecutingIt) {
  FunctionRequest request([] { FAIL() << "executed"; });
  std::vector<WorkerThreadExecId_t> ids;
  FunctionObserver observer([&](WorkerThreadExecId_t id, FunctionObserver::Request& notified) {
    ids.push_back(id);
    EXPECT_EQ(&notified, &request);
  });
  ExecObjectReturnFromWorkerThread(-5, request, observer).doExecute();
  EXPECT_EQ(ids, std::vector<WorkerThreadExecId_t>{-5});
}

}  // namespace
