#include "tests/rpc/ParserTests.h"

#include <dirent.h>
#include <stdio.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <sstream>

using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;
using Kelp::RpcParser;

namespace KelpTest {

namespace {

void* reserve(std::size_t size) {
  void* const start = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  EXPECT_NE(start, MAP_FAILED);
  return start;
}

}  // namespace

void writeFile(const std::string& path, const std::string& content) {
  FILE* const file = fopen(path.c_str(), "we");
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(fwrite(content.data(), 1, content.size(), file), content.size());
  ASSERT_EQ(fclose(file), 0);
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.good()) << path;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

std::size_t openDescriptors() {
  DIR* const directory = opendir("/proc/self/fd");
  std::size_t count = 0;
  while (readdir(directory) != nullptr) {
    ++count;
  }
  closedir(directory);
  return count;
}

bool isMapped(const std::string& path) {
  return readFile("/proc/self/maps").find(path) != std::string::npos;
}

void writeRequest(const std::string& content) {
  unlink(kOutput);
  writeFile(kRequest, content);
}

bool operator==(const Text& left, const Text& right) {
  return left.result == right.result && left.value == right.value;
}

std::ostream& operator<<(std::ostream& out, const Text& text) {
  return out << text.result << ' ' << testing::PrintToString(text.value);
}

Text ok(const std::string& value) {
  return {CommonReturnCode_Ok, value};
}

Text failed(CommonReturnCode_t result) {
  return {result, "untouched"};
}

Text invalid() {
  return failed(CommonReturnCode_InvalidProtocol);
}

Text getString(RpcParser& parser, const std::string& name) {
  Text text = failed(CommonReturnCode_Ok);
  text.result = parser.getStringData(name, text.value);
  return text;
}

Text getData(RpcParser& parser, const std::string& name) {
  void* data = nullptr;
  unsigned int size = 0;
  const CommonReturnCode_t result = parser.getBinaryData(name, data, size);
  const Text text = result == CommonReturnCode_Ok ? ok({static_cast<char*>(data), size}) : failed(result);
  Kelp::SysFunc::kelpFree(data);
  return text;
}

Text getFile(RpcParser& parser, const std::string& name) {
  const CommonReturnCode_t result = parser.getBinaryData(name, kOutput);
  return result == CommonReturnCode_Ok ? ok(readFile(kOutput)) : failed(result);
}

void expectEveryGetterAnswersInvalidProtocol(RpcParser& parser, const std::string& name) {
  int number = kUntouched;
  EXPECT_EQ(parser.getDecimal(name, number), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(parser.getHexadecimal(name, number), CommonReturnCode_InvalidProtocol);
  EXPECT_EQ(number, kUntouched);
  EXPECT_EQ(getString(parser, name), invalid());
  EXPECT_EQ(getData(parser, name), invalid());
  EXPECT_EQ(parser.getBinaryData(name, kOutput), CommonReturnCode_InvalidProtocol);
  EXPECT_NE(access(kOutput, F_OK), 0);
}

std::size_t pageSize() {
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

HoleBeforeGuard::HoleBeforeGuard(std::size_t size) : m_size(size), m_pHole(reserve(size + pageSize())) {
  munmap(m_pHole, m_size);
  void* taken = reserve(m_size);
  for (; taken != m_pHole; taken = reserve(m_size)) {
    m_fillers.push_back(taken);
  }
  munmap(taken, m_size);
}

HoleBeforeGuard::~HoleBeforeGuard() {
  munmap(static_cast<char*>(m_pHole) + m_size, pageSize());
  for (void* const filler : m_fillers) {
    munmap(filler, m_size);
  }
}

bool HoleBeforeGuard::isFilledBy(const std::string& path) const {
  std::istringstream maps(readFile("/proc/self/maps"));
  for (std::string line; std::getline(maps, line);) {
    if (line.find(path) != std::string::npos) {
      return std::stoull(line, nullptr, 16) == reinterpret_cast<std::uintptr_t>(m_pHole);
    }
  }
  return false;
}

}  // namespace KelpTest
