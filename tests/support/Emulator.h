// The tests of a build for another processor run in an emulator, which hands most of what they do on to the machine's
// own kernel, and not all of it. What no emulator can do is skipped, with the reason at the skip.
#ifndef KELP_TESTS_SUPPORT_EMULATOR_H
#define KELP_TESTS_SUPPORT_EMULATOR_H

#include <string>
#include <vector>

namespace KelpTest {

// What stands in front of the build's programs when they are started: the emulator with its arguments, or nothing.
std::vector<std::string> emulatorCommand();

bool isEmulated();

// The last signal that a program can use. An emulator's own C library keeps two for itself; the program's are moved up
// by these, and the last two fall out.
int lastSignal();

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_EMULATOR_H
