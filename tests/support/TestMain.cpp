#include <gtest/gtest.h>

#include "support/PrivateNamespace.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (!testing::GTEST_FLAG(list_tests)) {
    KelpTest::enterPrivateNamespace(argv);
  }
  return RUN_ALL_TESTS();
}
