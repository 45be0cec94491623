#include "support/TextFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace KelpTest {

void writeText(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text << std::flush;
  EXPECT_TRUE(file.good()) << path;
}

std::string readText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace KelpTest
