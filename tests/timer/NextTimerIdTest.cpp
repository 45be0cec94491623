#include <gtest/gtest.h>

#include <climits>
#include <map>

#include "timer/NextTimerId.h"

namespace {

using Kelp::nextTimerId;
using Kelp::TimerEventReceiver;
using Kelp::TimerId_t;

const std::map<TimerId_t, TimerEventReceiver*> kNoneActive;

TEST(NextTimerIdTest, FirstIdIs1AndIdsIncreaseByOne) {
  EXPECT_EQ(nextTimerId(0, kNoneActive), 1);
  EXPECT_EQ(nextTimerId(1, kNoneActive), 2);
  EXPECT_EQ(nextTimerId(INT_MAX - 1, kNoneActive), INT_MAX);
}

TEST(NextTimerIdTest, LargestIdIsFollowedByTheSmallest) {
  EXPECT_EQ(nextTimerId(INT_MAX, kNoneActive), INT_MIN);
  EXPECT_EQ(nextTimerId(INT_MIN, kNoneActive), INT_MIN + 1);
}

TEST(NextTimerIdTest, InvalidIdIsSkippedAnd0Follows) {
  EXPECT_EQ(nextTimerId(-3, kNoneActive), -2);
  EXPECT_EQ(nextTimerId(-2, kNoneActive), 0);
}

TEST(NextTimerIdTest, ActiveIdsAreSkipped) {
  EXPECT_EQ(nextTimerId(1, {{2, nullptr}, {3, nullptr}, {5, nullptr}}), 4);
}

TEST(NextTimerIdTest, ActiveIdsAreSkippedAcrossTheInvalidOne) {
  EXPECT_EQ(nextTimerId(-3, {{-2, nullptr}, {0, nullptr}}), 1);
  EXPECT_EQ(nextTimerId(-2, {{1, nullptr}}), 0);
  EXPECT_EQ(nextTimerId(0, {{1, nullptr}}), 2);
}

TEST(NextTimerIdTest, ActiveIdsAreSkippedAcrossTheEndOfTheRange) {
  EXPECT_EQ(nextTimerId(INT_MAX - 1, {{INT_MAX, nullptr}, {INT_MIN, nullptr}}), INT_MIN + 1);
}

}  // namespace
