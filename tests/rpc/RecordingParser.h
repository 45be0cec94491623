// A parser that only notes how it is called and answers what the test wants.
#ifndef KELP_TESTS_RPC_RECORDING_PARSER_H
#define KELP_TESTS_RPC_RECORDING_PARSER_H

#include <string.h>

#include <string>
#include <vector>

#include "RpcParser.h"
#include "SysFunc.h"

namespace KelpTest {

class RecordingParser : public Kelp::RpcParser {
 public:
  using Result = Kelp::CommonReturnCode_t;

  static constexpr int kNumber = 42;  // what number getters give; the others give "text of NAME" and the bytes "block"

  RecordingParser() : RpcParser("/tmp/request") {}

  Result getDecimal(const std::string& name, int& value) override {
    value = kNumber;
    return note("getDecimal " + name);
  }
  Result getHexadecimal(const std::string& name, int& value) override {
    value = kNumber;
    return note("getHexadecimal " + name);
  }
  Result getStringData(const std::string& name, std::string& value) override {
    value = "text of " + name;
    return note("getStringData " + name);
  }
  Result getBinaryData(const std::string& name, const std::string& filePath) override {
    return note("getBinaryData(file) " + name + " " + filePath);
  }
  Result getBinaryData(const std::string& name, void*& data, unsigned int& size) override {
    if (result == Kelp::CommonReturnCode_Ok) {
      size = 5;
      data = Kelp::SysFunc::kelpMalloc(size);
      memcpy(data, "block", size);
    }
    return note("getBinaryData(memory) " + name);
  }

  std::vector<std::string> calls;
  Result result = Kelp::CommonReturnCode_Ok;  // of every getter

 private:
  Result note(const std::string& call) {
    calls.push_back(call);
    return result;
  }
};

}  // namespace KelpTest

#endif  // KELP_TESTS_RPC_RECORDING_PARSER_H
