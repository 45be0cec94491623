#include <gtest/gtest.h>

#include "KelpReturnCode.h"

namespace {

using Kelp::CommonReturnCode_t;
using Kelp::KelpReturnCode;

TEST(KelpReturnCodeTest, EveryCodeHasItsText) {
  const std::pair<int, const char*> expected[] = {{0, "OK"},
                                                  {1, "Invalid Parameter"},
                                                  {2, "Invalid Method"},
                                                  {3, "Invalid Install ID"},
                                                  {4, "Invalid Process ID"},
                                                  {5, "Invalid Exec ID"},
                                                  {7, "Invalid Cipher Control"},
                                                  {8, "Can't Execute Script File"},
                                                  {9, "Invalid Application Package"},
                                                  {10, "Invalid Protocol"},
                                                  {11, "Permission denied"},
                                                  {13, "Bad Application Status"},
                                                  {14, "File Access Error"},
                                                  {15, "I/O error"},
                                                  {16, "Not Enough Memory"},
                                                  {17, "Application Start Error"},
                                                  {18, "Internal Error"},
                                                  {19, "exit"},
                                                  {20, "Not Supported"},
                                                  {21, "Application aborted"},
                                                  {22, "Invalid Application Preference"}};
  for (const auto& [code, text] : expected) {
    EXPECT_EQ(KelpReturnCode::getReturnCodeString(static_cast<CommonReturnCode_t>(code)), text);
  }
}

class KelpReturnCodeDeathTest : public testing::TestWithParam<int> {};

TEST_P(KelpReturnCodeDeathTest, CodeWithoutTextEndsTheProcess) {
  EXPECT_DEATH(KelpReturnCode::getReturnCodeString(static_cast<CommonReturnCode_t>(GetParam())),
               "KelpReturnCode\\.cpp:64: static std::string "
               "Kelp::KelpReturnCode::getReturnCodeString\\(Kelp::CommonReturnCode_t\\): Assertion `false' failed");
}

INSTANTIATE_TEST_SUITE_P(UnknownCodes, KelpReturnCodeDeathTest, testing::Values(6, 12, 23, -1, 0x7fffffff));

}  // namespace
