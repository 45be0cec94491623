#include "support/FileStatus.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace KelpTest {

bool exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

struct stat statusOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status;
}

mode_t modeOf(const std::string& path) {
  return statusOf(path).st_mode & 07777;
}

}  // namespace KelpTest
