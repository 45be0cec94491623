// The part of DiagnosticsTest that is compiled as a release build compiles the library.
#ifndef NDEBUG
#define NDEBUG
#endif

#include "foundation/DiagnosticsNdebug.h"

#include "foundation/Diagnostics.h"

namespace KelpTest {

void assertUnderNdebug(bool condition) {
  KELP_ASSERT_AT(7, condition, "condition holds", "void given()");
}

[[noreturn]] void failUnderNdebug() {
  KELP_FAIL_AT(8, "false", "void given()");
}

}  // namespace KelpTest
