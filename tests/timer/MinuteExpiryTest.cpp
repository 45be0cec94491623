#include <gtest/gtest.h>

#include "timer/MinuteExpiry.h"

namespace {

using Kelp::minuteExpiry;

void expectFirst(const itimerspec& expiry, long long seconds, long nanoseconds) {
  EXPECT_EQ(expiry.it_value.tv_sec, seconds);
  EXPECT_EQ(expiry.it_value.tv_nsec, nanoseconds);
}

TEST(MinuteExpiryTest, FirstExpiryIsWhatIsLeftOfTheMinute) {
  expectFirst(minuteExpiry(42, 300000), 17, 700000000);  // 10:15:42.300000
  expectFirst(minuteExpiry(0, 1), 59, 999999000);
  expectFirst(minuteExpiry(59, 999999), 0, 1000);
}

TEST(MinuteExpiryTest, WholeSecondNeedsNoNanoseconds) {
  expectFirst(minuteExpiry(42, 0), 18, 0);
  expectFirst(minuteExpiry(59, 0), 1, 0);
}

TEST(MinuteExpiryTest, WholeMinuteWaitsForTheNextOne) {
  expectFirst(minuteExpiry(0, 0), 60, 0);
}

TEST(MinuteExpiryTest, LeapSecondLeavesAValidTime) {
  expectFirst(minuteExpiry(60, 0), 1, 0);
  expectFirst(minuteExpiry(60, 300000), 0, 700000000);
}

TEST(MinuteExpiryTest, PeriodIsOneMinute) {
  const itimerspec expiry = minuteExpiry(42, 300000);
  EXPECT_EQ(expiry.it_interval.tv_sec, 60);
  EXPECT_EQ(expiry.it_interval.tv_nsec, 0);
}

}  // namespace
