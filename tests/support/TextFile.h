// Small files that tests read and write at once, byte for byte.
#ifndef KELP_TESTS_SUPPORT_TEXT_FILE_H
#define KELP_TESTS_SUPPORT_TEXT_FILE_H

#include <string>

namespace KelpTest {

void writeText(const std::string& path, const std::string& text);
std::string readText(const std::string& path);  // "" where there is no file

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_TEXT_FILE_H
