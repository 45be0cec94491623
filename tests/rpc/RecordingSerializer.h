// A serializer that only notes how it is called and answers what the test wants.
#ifndef KELP_TESTS_RPC_RECORDING_SERIALIZER_H
#define KELP_TESTS_RPC_RECORDING_SERIALIZER_H

#include <unistd.h>

#include <string>
#include <vector>

#include "RpcSerializer.h"

namespace KelpTest {

class RecordingSerializer : public Kelp::RpcSerializer {
 public:
  explicit RecordingSerializer(const std::string& filePath) : RpcSerializer(filePath) {}

  using Result = Kelp::CommonReturnCode_t;

  Result beginArray(const std::string& name) override { return note("beginArray " + name); }
  Result endArray() override { return note("endArray"); }
  Result beginStruct(const std::string& name) override { return note("beginStruct " + name); }
  Result endStruct() override { return note("endStruct"); }
  Result putDecimal(const std::string& name, int& value) override {
    return note("putDecimal(int) " + name + " " + std::to_string(value));
  }
  Result putDecimal(const std::string& name, unsigned long long& value) override {
    return note("putDecimal(unsigned long long) " + name + " " + std::to_string(value));
  }
  Result putHexadecimal(const std::string& name, int& value) override {
    return note("putHexadecimal(int) " + name + " " + std::to_string(value));
  }
  Result putHexadecimal(const std::string& name, unsigned long long& value) override {
    return note("putHexadecimal(unsigned long long) " + name + " " + std::to_string(value));
  }
  Result putStringData(const std::string& name, const std::string& value) override {
    return note("putStringData " + name + " " + value);
  }
  Result putBinaryData(const std::string& name, const std::string& filePath) override {
    const bool isThere = access(filePath.c_str(), F_OK) == 0;
    return note("putBinaryData(file) " + name + " " + filePath + (isThere ? " present" : " missing"));
  }
  Result putBinaryData(const std::string& name, void* data, unsigned int& size) override {
    return note("putBinaryData(memory) " + name + " " + std::string(static_cast<const char*>(data), size));
  }
  Result doSerialize() override { return note("doSerialize"); }

  std::vector<std::string> calls;
  Result result = Kelp::CommonReturnCode_Ok;  // of every operation

 private:
  Result note(const std::string& call) {
    calls.push_back(call);
    return result;
  }
};

}  // namespace KelpTest

#endif  // KELP_TESTS_RPC_RECORDING_SERIALIZER_H
