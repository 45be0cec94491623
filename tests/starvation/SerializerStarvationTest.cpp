// Responses: each serializer makes one with every kind of value; and Base64 text is written into a stream.

#include <gtest/gtest.h>
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "ApplicationInfoList.h"
#include "Base64EncDec.h"
#include "BinarySerializer.h"
#include "JsonSerializer.h"
#include "rpc/ApplicationRecord.h"
#include "starvation/LoopLines.h"
#include "starvation/Starvation.h"
#include "support/FileStatus.h"
#include "support/TextFile.h"

namespace {

using KelpTest::asserts;
using KelpTest::Call;
using KelpTest::errorLine;
using KelpTest::errorOf;
using KelpTest::goesOn;
using KelpTest::LogLine;
using KelpTest::UncountedCalls;

constexpr char kResponse[] = "/tmp/response";
constexpr char kInput[] = "/tmp/input";

// --- JSON

void putInput() {
  unlink(kResponse);
  KelpTest::writeText(kInput, "Man");
}

std::string writeJson() {
  Kelp::JsonSerializer serializer(kResponse);
  int number = 5;
  char data[] = "Man";
  unsigned int size = 3;
  int results = serializer.putDecimal("execId", number);
  results += serializer.beginArray("prefs");
  results += serializer.beginStruct("");
  results += serializer.putStringData("prefName", "volume");
  results += serializer.endStruct();
  results += serializer.endArray();
  const int memory = serializer.putBinaryData("memory", data, size);
  const int file = serializer.putBinaryData("file", std::string(kInput));
  results += serializer.doSerialize();
  return std::to_string(results) + " " + std::to_string(memory) + " " + std::to_string(file);
}

// What a response without these is.
std::string jsonText(bool hasMemory, bool hasFile) {
  return std::string(R"({"execId":"5","prefs":[{"prefName":"volume"}])") + (hasMemory ? R"(,"memory":"TWFu")" : "") +
         (hasFile ? R"(,"file":"TWFu")" : "") + "}";
}

std::string whichJson() {
  const UncountedCalls own;
  const std::string text = KelpTest::readText(kResponse);
  if (text == jsonText(true, true)) {
    return "whole";
  }
  if (text == jsonText(false, true)) {
    return "without memory";
  }
  if (text == jsonText(true, false)) {
    return "without file";
  }
  return text.empty() ? "empty" : "torn: " + text;
}

std::string liveWithJson() {
  const std::string results = writeJson();
  return results + " " + whichJson();
}

std::string checkJson(bool /*isAborted*/) {
  const std::string which = whichJson();
  return which.substr(0, 4) == "torn" ? which : "";
}

KelpTest::Scenario jsonScenario() {
  return {putInput, liveWithJson, checkJson};
}

// --- Binary records: the list of two applications

std::vector<Kelp::ApplicationInfoList_t> applications() {
  const UncountedCalls own;
  Kelp::ApplicationInfoList_t application = {};
  application.text = "1.0";
  application.pairs.emplace_back(1, 2);
  application.slots.emplace_back(3, "a text that does not fit into a string itself");
  return {application, application};
}

constexpr char kListResponse[] = "/tmp/responseWithAList";
constexpr size_t kHeaderSize = 2 * sizeof(uint32_t);
constexpr size_t kRecordSize = sizeof(Kelp::ApplicationRecord);

void removeList() {
  unlink(kListResponse);
}

// A header has whole records behind it, or none.
std::string whichList() {
  const UncountedCalls own;
  const size_t size = KelpTest::readText(kListResponse).size();
  if (size == 0) {
    return "empty";
  }
  if (size < kHeaderSize || (size - kHeaderSize) % kRecordSize != 0) {
    return "torn: " + std::to_string(size);
  }
  return std::to_string((size - kHeaderSize) / kRecordSize) + " records";
}

std::string liveWithAList() {
  const std::vector<Kelp::ApplicationInfoList_t> list = applications();
  int result = 0;
  {
    Kelp::BinarySerializer serializer(kListResponse);
    result = serializer.putParamForGetAppList(2, list);
  }
  return std::to_string(result) + " " + whichList();
}

// What a write that failed has left out is told by the result. A process that is aborted tells nobody.
std::string checkList(bool isAborted) {
  const std::string which = whichList();
  const bool isWhole = which == "empty" || which == "2 records";
  return which.substr(0, 4) == "torn" || (isAborted && !isWhole) ? which : "";
}

KelpTest::Scenario listScenario() {
  return {removeList, liveWithAList, checkList};
}

// --- Base64 text in a stream, made of a block of memory and of another stream

constexpr char kText[] = "/tmp/text";

void putStreamInput() {
  KelpTest::writeText(kInput, "mortal");
}

// Opened and closed by its owner, who also looks after its errors.
class Stream {
 public:
  Stream(const char* path, const char* mode) {
    const UncountedCalls own;
    m_pFile = fopen(path, mode);
  }
  ~Stream() {
    const UncountedCalls own;
    fclose(m_pFile);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  FILE* get() const { return m_pFile; }

 private:
  FILE* m_pFile;
};

std::string writeStream() {
  const Stream in(kInput, "re");
  const Stream out(kText, "we");
  const Kelp::Base64EncDec base64;
  char data[] = "Man is";
  unsigned int size = 6;
  const int memory = base64.putBase64Mem(data, size, out.get());
  const int stream = base64.putBase64(in.get(), out.get());
  return std::to_string(memory) + " " + std::to_string(stream);
}

std::string liveWithStreams() {
  const std::string results = writeStream();
  const UncountedCalls own;
  return results + " " + KelpTest::readText(kText);
}

constexpr char kAll[] = "0 0 0 whole";

LogLine notOpenLine() {
  return errorLine("FileOperator.cpp", 0, "open",
                   "###ERROR### open() returns error(errno=" + std::to_string(errorOf(Call::Open)) + ").\n");
}

}  // namespace

TEST(SerializerStarvationTest, EveryCallThatFailsOnJsonEndsAsStated) {
  KelpTest::Starvation starvation(jsonScenario());
  starvation.expect(Call::Fopen, {asserts("JsonSerializer.cpp", 0, "__null != m_fpo")});
  starvation.expect(Call::Setvbuf, {goesOn(kAll)});
  starvation.expect(Call::JsonNewObject, {asserts("JsonSerializer.cpp", 0, "__null != root"),
                                          asserts("JsonSerializer.cpp", 0, "__null != value")});
  starvation.expect(Call::JsonNewArray, {asserts("JsonSerializer.cpp", 0, "__null != value")});
  starvation.expect(Call::JsonNewString, {asserts("JsonSerializer.cpp", 0, "__null != value")});
  starvation.expect(Call::JsonObjectAdd, {asserts("JsonSerializer.cpp", 0, "0 == result")});
  starvation.expect(Call::JsonArrayAdd, {asserts("JsonSerializer.cpp", 0, "0 == result")});
  starvation.expect(Call::JsonToString, {asserts("JsonSerializer.cpp", 0, "__null != text")});
  const LogLine noData = errorLine("JsonSerializer.cpp", 0, "putBinaryData", "###ERROR###");
  starvation.expect(Call::Open, {goesOn("0 0 15 without file", {notOpenLine()})});
  starvation.expect(Call::Fstat, {goesOn(kAll)});
  starvation.expect(Call::Read, {goesOn("0 0 15 without file", {noData})});
  starvation.expect(Call::Malloc, {goesOn("0 1 0 without memory", {noData}), goesOn("0 0 15 without file", {noData}),
                                   goesOn("0 0 1 without file", {noData})});
  starvation.expect(Call::Close, {goesOn(kAll, {KelpTest::failedCloseLine()})});
  const LogLine notWritten = errorLine("JsonSerializer.cpp", 0, "doSerialize", "###ERROR###\n");
  starvation.expect(Call::Fputs, {goesOn("0 0 0 empty", {notWritten})});
  starvation.expect(Call::Fclose, {goesOn("0 0 0 empty", {notWritten})});
  starvation.failEachCall();
}

TEST(SerializerStarvationTest, EveryNewThatFailsOnJsonAbortsTheProcess) {
  KelpTest::Starvation(jsonScenario()).failEachNew();
}

TEST(SerializerStarvationTest, EveryCallThatFailsOnAListEndsAsStated) {
  KelpTest::Starvation starvation(listScenario());
  starvation.expect(Call::Open, {goesOn("15 empty", {notOpenLine()})});
  starvation.expect(Call::Write, {goesOn("15 empty"), goesOn("15 0 records"), goesOn("15 1 records")});
  starvation.expect(Call::Close, {goesOn("0 2 records", {KelpTest::failedCloseLine()})});
  starvation.failEachCall();
}

TEST(SerializerStarvationTest, EveryNewThatFailsOnAListAbortsTheProcess) {
  KelpTest::Starvation(listScenario()).failEachNew();
}

// Each failed call leaves its group or all that it would have read out; the stream's owner is told by the stream.
TEST(SerializerStarvationTest, EveryCallThatFailsOnStreamsEndsAsStated) {
  KelpTest::Starvation starvation({putStreamInput, liveWithStreams, nullptr});
  starvation.expect(Call::Fputs, {goesOn("0 0 IGlzbW9ydGFs"), goesOn("0 0 TWFubW9ydGFs"), goesOn("0 0 TWFuIGlzdGFs"),
                                  goesOn("0 0 TWFuIGlzbW9y")});
  starvation.expect(Call::Fread, {goesOn("0 0 TWFuIGlz"), goesOn("0 0 TWFuIGlzbW9ydGFs")});
  starvation.failEachCall();
}
