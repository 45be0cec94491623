// Questions about what lies at a path.
#ifndef KELP_TESTS_SUPPORT_FILE_STATUS_H
#define KELP_TESTS_SUPPORT_FILE_STATUS_H

#include <sys/stat.h>

#include <string>

namespace KelpTest {

bool exists(const std::string& path);

// The test fails where nothing is there.
struct stat statusOf(const std::string& path);
mode_t modeOf(const std::string& path);  // the permission bits

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_FILE_STATUS_H
