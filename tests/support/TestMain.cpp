#include <gtest/gtest.h>

#include "support/PrivateNamespace.h"

// What the leak checker is not to report. A loop that its exit flag ends leaves the wake-up object in its pipe: only
// the loop may delete what was sent to it, and it is gone.
extern "C" const char* __lsan_default_suppressions();   // NOLINT(bugprone-reserved-identifier): the checker's name
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
  return "leak:Kelp::EventLooperMultiWait::exitEventLoop\n";
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (!testing::GTEST_FLAG(list_tests)) {
    KelpTest::enterPrivateNamespace(argv);
  }
  return RUN_ALL_TESTS();
}
