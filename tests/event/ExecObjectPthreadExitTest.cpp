#include <gtest/gtest.h>

#include "EventLooperMultiWait.h"
#include "ExecObjectEventSender.h"
#include "ExecObjectPthreadExit.h"
#include "support/LogCapture.h"
#include "support/ObjectType.h"

namespace {

using Kelp::EventLooperMultiWait;
using Kelp::ExecObjectPthreadExit;

TEST(ExecObjectPthreadExitTest, RegistersUnderItsObjectType) {
  EXPECT_EQ(KelpTest::objectTypeOf(ExecObjectPthreadExit()), 13);
}

TEST(ExecObjectPthreadExitTest, EndsTheLoopOfItsThreadAndTheThreadGoesOn) {
  EventLooperMultiWait looper;
  looper.getExecObjectEventSender().send(*new ExecObjectPthreadExit);
  const KelpTest::LogCapture log;
  looper.runEventLoop();
  EXPECT_TRUE(looper.needsExit());
  EXPECT_TRUE(log.lines().empty());
}

TEST(ExecObjectPthreadExitDeathTest, ExecutionWhereNoLoopRunsEndsTheProcess) {
  EXPECT_DEATH(ExecObjectPthreadExit().doExecute(),
               "ExecObjectPthreadExit\\.cpp:42: virtual void Kelp::ExecObjectPthreadExit::doExecute\\(\\): "
               "Assertion `pLooper != __null' failed");
}

}  // namespace
