// Assertions in a source file that is compiled with NDEBUG.
#ifndef KELP_TESTS_FOUNDATION_DIAGNOSTICS_NDEBUG_H
#define KELP_TESTS_FOUNDATION_DIAGNOSTICS_NDEBUG_H

namespace KelpTest {

void assertUnderNdebug(bool condition);  // line 7, "condition holds"
[[noreturn]] void failUnderNdebug();     // line 8, "false"

}  // namespace KelpTest

#endif  // KELP_TESTS_FOUNDATION_DIAGNOSTICS_NDEBUG_H
