// A small request, parsed and answered, in its two forms: a binary record answered by one, and text answered in JSON.
// Their time, and how often each asks for memory.
#include <fstream>
#include <string>
#include <vector>

#include "BinaryParser.h"
#include "BinarySerializer.h"
#include "JsonSerializer.h"
#include "QueryStringParser.h"
#include "RequestDecoder.h"
#include "ResponseEncoder.h"
#include "ResponseEncoderForBinary.h"
#include "support/AllocationCount.h"
#include "support/Clock.h"
#include "support/Comparison.h"
#include "support/PrivateNamespace.h"

using namespace KelpBench;

namespace {

constexpr char kRequestFile[] = "/tmp/Kelp/request";
constexpr char kResponseFile[] = "/tmp/Kelp/response";
constexpr int kRequests = 20000;  // in a round
constexpr int kRounds = 5;

// Reads the method and its values as a handler does.
void decode(Kelp::RpcParser& parser) {
  Kelp::RequestDecoder decoder(parser);
  std::string method;
  int installId = 0;
  int processId = 0;
  int callback = 0;
  const bool isRead = decoder.getApi(method) == Kelp::CommonReturnCode_Ok &&
                      decoder.getInstallId("installId", installId) == Kelp::CommonReturnCode_Ok &&
                      decoder.getProcessId("processId", processId) == Kelp::CommonReturnCode_Ok &&
                      decoder.getCallback("callback", callback) == Kelp::CommonReturnCode_Ok;
  require(isRead && method == "stopApplication" && installId == 0x1A && processId == 3 && callback == 1, "decode");
}

void answerBinary() {
  Kelp::BinaryParser parser(kRequestFile);
  decode(parser);
  Kelp::BinarySerializer serializer(kResponseFile);
  Kelp::ResponseEncoderForBinary encoder(serializer);
  require(encoder.putParamForStopApp() == Kelp::CommonReturnCode_Ok, "putParamForStopApp");
}

void answerJson() {
  Kelp::QueryStringParser parser(kRequestFile);
  decode(parser);
  Kelp::JsonSerializer serializer(kResponseFile);
  Kelp::ResponseEncoder encoder(serializer);
  Kelp::CommonReturnCode_t code = Kelp::CommonReturnCode_Ok;
  encoder.putFaultCode("result", code);
  require(serializer.doSerialize() == Kelp::CommonReturnCode_Ok, "doSerialize");
}

template <typename Answer>
double cpuNanosecondsOf(Answer answer) {
  const int64_t start = processCpuNanoseconds();
  for (int i = 0; i < kRequests; ++i) {
    answer();
  }
  return static_cast<double>(processCpuNanoseconds() - start) / kRequests;
}

template <typename Answer>
void measure(const std::string& name, const std::string& request, Answer answer) {
  std::ofstream(kRequestFile, std::ios::binary) << request;
  answer();
  const std::size_t before = KelpTest::allocations().blocks;
  answer();
  const std::size_t allocations = KelpTest::allocations().blocks - before;
  std::vector<double> rounds;
  for (int round = 0; round < kRounds; ++round) {
    rounds.push_back(cpuNanosecondsOf(answer));
  }
  show(name + ", " + std::to_string(allocations) + " allocations", Figure::Nanoseconds, median(rounds));
}

}  // namespace

int main(int /*argc*/, char** argv) {
  KelpTest::enterPrivateNamespace(argv);
  measure("Binary request parsed and answered", std::string("\x04\0\0\0\x1A\0\0\0\x03\0\0\0\x01\0\0\0", 16),
          answerBinary);
  measure("Text request parsed and answered in JSON",
          "methodName=stopApplication&installId=0000001A&processId=3&callback=1", answerJson);
}
