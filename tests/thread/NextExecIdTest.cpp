#include <gtest/gtest.h>

#include <climits>

#include "thread/NextExecId.h"

namespace {

using Kelp::nextExecId;

TEST(NextExecIdTest, IsGreaterByOne) {
  EXPECT_EQ(nextExecId(0), 1);
  EXPECT_EQ(nextExecId(41), 42);
  EXPECT_EQ(nextExecId(INT_MAX - 1), INT_MAX);
}

TEST(NextExecIdTest, WrapsFromTheGreatestToTheSmallest) {
  EXPECT_EQ(nextExecId(INT_MAX), INT_MIN);
  EXPECT_EQ(nextExecId(INT_MIN), INT_MIN + 1);
  EXPECT_EQ(nextExecId(-1), 0);
}

}  // namespace
