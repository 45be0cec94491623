#include <gtest/gtest.h>

#include "ipc/SessionId.h"

using Kelp::sessionIdAfter;

TEST(SessionIdTest, GoesUpByOne) {
  EXPECT_EQ(1U, sessionIdAfter(0));
  EXPECT_EQ(2U, sessionIdAfter(1));
  EXPECT_EQ(0x80000000U, sessionIdAfter(0x7FFFFFFF));
  EXPECT_EQ(0xFFFFFFFEU, sessionIdAfter(0xFFFFFFFD));
}

TEST(SessionIdTest, SkipsTheInvalidIdAtTheEnd) {
  EXPECT_EQ(0U, sessionIdAfter(0xFFFFFFFE));
}
