// What the tests of the request parsers share: request files, and the parsers' answers as values.
#ifndef KELP_TESTS_RPC_PARSER_TESTS_H
#define KELP_TESTS_RPC_PARSER_TESTS_H

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "RpcParser.h"
#include "SysFunc.h"
#include "support/ParsedRequest.h"

namespace KelpTest {

constexpr char kRequest[] = "/tmp/request";
constexpr char kOutput[] = "/tmp/output";
constexpr unsigned int kNoMember = 0xFFFFFFFF;
constexpr int kUntouched = -12345;

void writeFile(const std::string& path, const std::string& content);
std::string readFile(const std::string& path);
std::size_t openDescriptors();
bool isMapped(const std::string& path);

// Makes the content the request file's. No other test's output is left.
void writeRequest(const std::string& content);

template <typename Parser>
std::unique_ptr<Parser> parseRequest(const std::string& content) {
  writeRequest(content);
  return std::make_unique<Parser>(kRequest);
}

// A getter's result, and the text that it gave.
struct Text {
  Kelp::CommonReturnCode_t result;
  std::string value;
};
bool operator==(const Text& left, const Text& right);
std::ostream& operator<<(std::ostream& out, const Text& text);

Text ok(const std::string& value);
Text failed(Kelp::CommonReturnCode_t result);  // and left the value untouched
Text invalid();                                // failed(10)

Text getString(Kelp::RpcParser& parser, const std::string& name);
Text getData(Kelp::RpcParser& parser, const std::string& name);  // to memory
Text getFile(Kelp::RpcParser& parser, const std::string& name);  // to kOutput

// The raw value as getMember() copies it, NUL bytes included.
template <typename Parser>
std::string getRaw(const Parser& parser, const std::string& name) {
  char* value = nullptr;
  const unsigned int size = parser.getMember(name, value);
  if (size == kNoMember) {
    EXPECT_EQ(value, nullptr);
    return "missing";
  }
  EXPECT_EQ(value[size], '\0');
  const std::string raw(value, size);
  Kelp::SysFunc::kelpFree(value);
  return raw;
}

void expectEveryGetterAnswersInvalidProtocol(Kelp::RpcParser& parser, const std::string& name);

// A hole of whole pages in the address space, the only one that the next mapping of that size fits at. Behind it is a
// page that ends the process when it is touched: without it, another mapping may follow and hide an access too far.
class HoleBeforeGuard {
 public:
  explicit HoleBeforeGuard(std::size_t size);
  ~HoleBeforeGuard();
  HoleBeforeGuard(const HoleBeforeGuard&) = delete;
  HoleBeforeGuard& operator=(const HoleBeforeGuard&) = delete;

  // Whether `path` is mapped where the hole was.
  bool isFilledBy(const std::string& path) const;

 private:
  const std::size_t m_size;
  void* const m_pHole;
  std::vector<void*> m_fillers;
};

std::size_t pageSize();

// As parseRequest(), with memory that cannot be touched behind the mapping.
template <typename Parser>
class GuardedRequest {
 public:
  explicit GuardedRequest(const std::string& body)
      : m_hole((body.size() + pageSize() - 1) / pageSize() * pageSize()), m_pParser(parseRequest<Parser>(body)) {
    EXPECT_TRUE(m_hole.isFilledBy(kRequest));
  }

  Parser& parser() const { return *m_pParser; }

 private:
  const HoleBeforeGuard m_hole;
  std::unique_ptr<Parser> m_pParser;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_RPC_PARSER_TESTS_H
