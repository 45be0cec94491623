#include <gtest/gtest.h>
#include <unistd.h>

#include "thread/WorkerStackSize.h"

namespace {

using Kelp::kWorkerStackSize;
using Kelp::workerStackSize;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kHasSanitizer = true;
#else
constexpr bool kHasSanitizer = false;
#endif

TEST(WorkerStackSizeTest, IsWhatThePlatformIsBuiltFor) {
  EXPECT_EQ(kWorkerStackSize, 16384);
  if (kHasSanitizer) {
    GTEST_SKIP() << "a sanitizer needs more";
  }
  EXPECT_EQ(workerStackSize(16384), 16384);
  EXPECT_EQ(workerStackSize(2048), 16384);
}

TEST(WorkerStackSizeTest, IsKeptWhereTheMachineNamesNoSmallestStack) {
  EXPECT_EQ(workerStackSize(-1), workerStackSize(16384));
}

TEST(WorkerStackSizeTest, IsWhatTheMachineDemandsWhereThatIsMore) {
  constexpr long kDemanded = 4L * 1024 * 1024;
  EXPECT_EQ(workerStackSize(kDemanded), kDemanded);
  EXPECT_GE(workerStackSize(16385), 16385);
}

TEST(WorkerStackSizeTest, IsLargerInASanitizersBuild) {
  if (!kHasSanitizer) {
    GTEST_SKIP() << "no sanitizer's build";
  }
  EXPECT_GT(workerStackSize(16384), 16384);
}

TEST(WorkerStackSizeTest, AsksThisMachine) {
  EXPECT_EQ(workerStackSize(), workerStackSize(sysconf(_SC_THREAD_STACK_MIN)));
}

}  // namespace
