#include <gtest/gtest.h>

#include "ExecObjectDoNothing.h"
#include "support/LogCapture.h"
#include "support/ObjectType.h"

namespace {

using Kelp::ExecObjectDoNothing;

TEST(ExecObjectDoNothingTest, RegistersUnderItsObjectType) {
  EXPECT_EQ(KelpTest::objectTypeOf(ExecObjectDoNothing()), 10);
}

TEST(ExecObjectDoNothingTest, DoesNothingEvenWhereNoLoopRuns) {
  const KelpTest::LogCapture log;
  ExecObjectDoNothing().doExecute();
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
