#include <gtest/gtest.h>

#include <vector>

#include "support/PrivateNamespace.h"

// What the leak checker is not to report. A loop that its exit flag ends leaves the wake-up object in its pipe: only
// the loop may delete what was sent to it, and it is gone.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:Kelp::EventLooperMultiWait::exitEventLoop\n";
}

int main(int argc, char** argv) {
  // GoogleTest takes its flags out of `argv`; a program that has to be started again needs them all.
  std::vector<char*> arguments(argv, argv + argc + 1);
  testing::InitGoogleTest(&argc, argv);
  if (!testing::GTEST_FLAG(list_tests)) {
    KelpTest::enterPrivateNamespace(arguments.data());
  }
  return RUN_ALL_TESTS();
}
