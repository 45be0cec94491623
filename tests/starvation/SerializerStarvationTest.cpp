// Responses: each serializer makes one with every kind of value.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "ApplicationInfoList.h"
#include "BinarySerializer.h"
#include "JsonSerializer.h"
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
constexpr size_t kListSize = 8 + 2 * 4416;

void removeList() {
  unlink(kListResponse);
}

std::string liveWithAList() {
  const std::vector<Kelp::ApplicationInfoList_t> list = applications();
  Kelp::BinarySerializer serializer(kListResponse);
  return std::to_string(serializer.putParamForGetAppList(2, list));
}

// A write that failed leaves a part of it, and says so.
std::string checkList(bool isAborted) {
  const size_t size = KelpTest::readText(kListResponse).size();
  return isAborted && size != 0 && size != kListSize ? "torn: " + std::to_string(size) : "";
}

KelpTest::Scenario listScenario() {
  return {removeList, liveWithAList, checkList};
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
  starvation.expect(Call::Open, {goesOn("15", {notOpenLine()})});
  starvation.expect(Call::Write, {goesOn("15")});
  starvation.expect(Call::Close, {goesOn("0", {KelpTest::failedCloseLine()})});
  starvation.failEachCall();
}

TEST(SerializerStarvationTest, EveryNewThatFailsOnAListAbortsTheProcess) {
  KelpTest::Starvation(listScenario()).failEachNew();
}
