// The web API in binary records, byte for byte.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdint.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "KelpReturnCode.h"
#include "examples/ExamplePrograms.h"

namespace KelpTest {
namespace {

constexpr char kBinary[] = "application/octet-stream";
constexpr size_t kEntryBytes = 4416;

std::string words(const std::vector<int32_t>& numbers) {
  return std::string(reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(int32_t));
}

std::string field(std::string text, size_t size) {
  text.resize(size, '\0');
  return text;
}

int32_t wordAt(const std::string& bytes, size_t offset) {
  int32_t word = -1;
  if (offset + sizeof(word) <= bytes.size()) {
    memcpy(&word, &bytes[offset], sizeof(word));
  }
  return word;
}

ClientReply callBinary(const std::string& record) {
  return callApi(record, kBinary);
}

std::string startRecord(int32_t installId, int32_t processId, const std::string& args) {
  return words({3, installId, processId}) + field(args, 256) + words({1});
}

// Of an application that does not run.
std::string entry(int32_t installId, int32_t funcId, const std::string& name) {
  std::string slots = words({0}) + field(name, 64);
  for (int i = 1; i < 64; ++i) {
    slots += words({-1}) + field("", 64);
  }
  return words({installId, funcId}) + field("1.0", 8) + words({0, 0, 0, 0}) + words({-1, -1, -1, -1, -1, -1, -1, -1}) +
         slots;
}

class BinaryCallsTest : public ExamplesTest {};

TEST_F(BinaryCallsTest, TheListOfApplicationsIsAHeaderAndARecordForEach) {
  CoreProcess core;
  const ClientReply reply = callBinary(words({6}));
  EXPECT_EQ(200, reply.httpStatus);
  EXPECT_TRUE(words({0, 2}) + entry(1, 0xA001, "clock") + entry(2, 0xA002, "radio") == reply.body);
  endCore(core);
}

TEST_F(BinaryCallsTest, AnApplicationIsStartedWithArgumentsAndStoppedByItsProcess) {
  CoreProcess core;
  EXPECT_EQ(words({0}), callBinary(startRecord(1, 0, "given label")).body);
  EXPECT_EQ(words({13}), callBinary(startRecord(1, 0, "")).body);
  EXPECT_TRUE(waitUntil([] { return wordAt(callBinary(words({6})).body, 8 + 16) == 2; }));  // it runs
  const std::string list = callBinary(words({6})).body;
  ASSERT_EQ(8 + 2 * kEntryBytes, list.size());
  EXPECT_LE(1, wordAt(list, 8 + 20));  // reports
  EXPECT_EQ(1, wordAt(list, 8 + 32));  // exec id
  const int32_t processId = wordAt(list, 8 + 36);
  EXPECT_EQ(0, kill(processId, 0));
  EXPECT_EQ("clock", std::string(&list[8 + 64 + 4]));
  EXPECT_EQ(1, wordAt(list, 8 + 64 + 68));
  EXPECT_EQ("given label ", std::string(&list[8 + 64 + 68 + 4], 12));
  EXPECT_EQ(words({4}), callBinary(words({4, 1, processId + 1, 0})).body);
  EXPECT_EQ(words({4}), callBinary(words({4, 2, processId, 0})).body);
  EXPECT_EQ(words({3}), callBinary(words({4, 9, processId, 0})).body);
  EXPECT_EQ(words({0}), callBinary(words({4, 1, processId, 7})).body);
  EXPECT_EQ(-1, kill(processId, 0));
  endCore(core);
}

TEST_F(BinaryCallsTest, EveryPreferenceIsResetByCodeZero) {
  const std::string shipped = contentOf(m_clockPrefs);
  CoreProcess core;
  const std::string change =
      "methodName=setPreference&installId=00000001&prefName=interval&prefType=Integer&prefValue=77";
  EXPECT_EQ(200, callApi(change).httpStatus);
  const std::string changed = contentOf(m_clockPrefs);
  EXPECT_NE(shipped, changed);
  EXPECT_EQ(words({1}), callBinary(words({5, 1})).body);
  EXPECT_EQ(changed, contentOf(m_clockPrefs));
  EXPECT_EQ(words({0}), callBinary(words({5, 0})).body);
  EXPECT_EQ(shipped, contentOf(m_clockPrefs));
  endCore(core);
}

TEST_F(BinaryCallsTest, FaultsAreTheirCode) {
  CoreProcess core;
  const struct {
    std::string record;
    int code;
    int httpStatus;
  } cases[] = {
      {startRecord(9, 0, ""), Kelp::CommonReturnCode_InvalidInstallId, 404},
      {startRecord(1, 5, ""), Kelp::CommonReturnCode_InvalidProcessId, 404},
      {words({4, 1, 1, 1}), Kelp::CommonReturnCode_InvalidProcessId, 404},
      {words({4, 1, 1}), Kelp::CommonReturnCode_InvalidProtocol, 400},
      {words({8}), Kelp::CommonReturnCode_InvalidProtocol, 400},
      {"", Kelp::CommonReturnCode_InvalidProtocol, 400},
      {"abc", Kelp::CommonReturnCode_InvalidProtocol, 400},
      {std::string(4097, '\0'), Kelp::CommonReturnCode_NotEnoughMemory, 413},
  };
  for (const auto& [record, code, httpStatus] : cases) {
    const ClientReply reply = callBinary(record);
    EXPECT_EQ(httpStatus, reply.httpStatus) << testing::PrintToString(record);
    EXPECT_EQ(words({code}), reply.body);
  }
  endCore(core);
  const ClientReply reply = callBinary(words({6}));
  EXPECT_EQ(503, reply.httpStatus);
  EXPECT_EQ(words({14}), reply.body);
}

}  // namespace
}  // namespace KelpTest
