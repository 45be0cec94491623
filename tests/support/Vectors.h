// The test vectors in tests/vectors/, whose README.md says how they are written down.
#ifndef KELP_TESTS_SUPPORT_VECTORS_H
#define KELP_TESTS_SUPPORT_VECTORS_H

#include <string>

namespace KelpTest {

// The bytes of the vector called `name` in the file. Ends the process when there is none, or it cannot be read.
std::string vectorOf(const std::string& file, const std::string& name);

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_VECTORS_H
