// Requests: each parser reads one and answers every kind of question about it.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "BinaryParser.h"
#include "MultiPartParser.h"
#include "QueryStringParser.h"
#include "SysFunc.h"
#include "starvation/LoopLines.h"
#include "starvation/Starvation.h"
#include "support/FileStatus.h"
#include "support/TextFile.h"

namespace {

using Kelp::RpcParser;
using KelpTest::Call;
using KelpTest::errorLine;
using KelpTest::errorOf;
using KelpTest::goesOn;
using KelpTest::LogLine;
using KelpTest::UncountedCalls;

constexpr char kRequest[] = "/tmp/request";
constexpr char kPackage[] = "/tmp/packageWithAnUpdate";
constexpr char kOutput[] = "/tmp/output";
constexpr char kEmptyOutput[] = "/tmp/emptyOutput";
constexpr char kDecoded[] = "Man is distinguished";
constexpr char kBase64[] = "TWFuIGlzIGRpc3Rpbmd1aXNoZWQ=";

// A getter's result, and the value unless that is "OK" and the value is as it is to be.
std::string answer(int result, bool isRight) {
  return std::to_string(result) + (result == 0 && !isRight ? " wrong" : "");
}

std::string askText(RpcParser& parser, const char* name) {
  std::string value = "untouched";
  const int result = parser.getStringData(name, value);
  return answer(result, value == "a text");
}

std::string askDecimal(RpcParser& parser, const char* name) {
  int value = 0;
  const int result = parser.getDecimal(name, value);
  return answer(result, value == 12);
}

std::string askHexadecimal(RpcParser& parser, const char* name) {
  int value = 0;
  const int result = parser.getHexadecimal(name, value);
  return answer(result, value == 0x1A);
}

std::string askData(RpcParser& parser, const char* name) {
  void* data = nullptr;
  unsigned int size = 0;
  const int result = parser.getBinaryData(name, data, size);
  const std::string decoded(static_cast<const char*>(data), size);
  Kelp::SysFunc::kelpFree(data);
  return answer(result, decoded == kDecoded);
}

bool isFile(const char* path, const std::string& contents) {
  const UncountedCalls own;
  return KelpTest::exists(path) && KelpTest::readText(path) == contents;
}

std::string askFile(RpcParser& parser, const char* name) {
  const int result = parser.getBinaryData(name, std::string(kOutput));
  return answer(result, isFile(kOutput, kDecoded));
}

std::string askEmptyFile(RpcParser& parser, const char* name) {
  const int result = parser.getBinaryData(name, std::string(kEmptyOutput));
  return answer(result, isFile(kEmptyOutput, ""));
}

void removeOutputs() {
  unlink(kOutput);
  unlink(kEmptyOutput);
}

// What cannot be written whole is left empty.
std::string checkFiles(bool /*isAborted*/) {
  const std::string text = KelpTest::readText(kOutput);
  return text.empty() || text == kDecoded ? "" : "torn: " + text;
}

std::string askAll(RpcParser& parser) {
  std::string answers = askDecimal(parser, "decimal");
  answers += " " + askHexadecimal(parser, "hexadecimal");
  answers += " " + askText(parser, "text");
  answers += " " + askData(parser, "data");
  answers += " " + askFile(parser, "file");
  answers += " " + askEmptyFile(parser, "empty");
  return answers;
}

// --- A query string

void putQueryString() {
  removeOutputs();
  KelpTest::writeText(
      kRequest, std::string("decimal=12&hexadecimal=1A&text=a+text&data=") + kBase64 + "&file=" + kBase64 + "&empty=");
}

std::string liveWithAQueryString() {
  Kelp::QueryStringParser parser(kRequest);
  return askAll(parser);
}

KelpTest::Scenario queryStringScenario() {
  return {putQueryString, liveWithAQueryString, checkFiles};
}

// --- A multipart form

std::string part(const std::string& name, const std::string& value) {
  return "--AnyBoundary\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value + "\r\n";
}

void putForm() {
  removeOutputs();
  KelpTest::writeText(kRequest, part("decimal", "12") + part("hexadecimal", "1A") + part("text", "a text") +
                                    part("data", kBase64) + part("file", kBase64) + part("empty", "") +
                                    "--AnyBoundary--\r\n");
}

std::string liveWithAForm() {
  Kelp::MultiPartParser parser(kRequest);
  return askAll(parser);
}

KelpTest::Scenario formScenario() {
  return {putForm, liveWithAForm, checkFiles};
}

// --- A binary record: of an update, with the path of a package

void putRecord() {
  removeOutputs();
  const std::string update("\0\0\0\0\x1A\0\0\0", 8);
  KelpTest::writeText(kRequest, update + kPackage + std::string(1, '\0'));
  KelpTest::writeText(kPackage, kBase64);
}

// The getter of data in memory gives bytes of the record.
std::string askRecord(RpcParser& parser) {
  void* data = nullptr;
  unsigned int size = 0;
  const int result = parser.getBinaryData("installId", data, size);
  Kelp::SysFunc::kelpFree(data);
  return answer(result, size == 8);
}

std::string askMethod(RpcParser& parser) {
  std::string method;
  const int result = parser.getStringData("methodName", method);
  return answer(result, method == "updateApplication");
}

std::string liveWithARecord() {
  Kelp::BinaryParser parser(kRequest);
  std::string answers = askMethod(parser);
  answers += " " + askHexadecimal(parser, "installId");
  answers += " " + askRecord(parser);
  answers += " " + askFile(parser, "applicationPackage");
  return answers;
}

KelpTest::Scenario recordScenario() {
  return {putRecord, liveWithARecord, checkFiles};
}

LogLine notOpenLine() {
  return errorLine("FileOperator.cpp", 0, "open",
                   "###ERROR### open() returns error(errno=" + std::to_string(errorOf(Call::Open)) + ").\n");
}

LogLine notTouchedLine() {
  return errorLine("SysFunc.cpp", 0, "kelpExec", std::string("ERROR: system touch ") + kEmptyOutput + "\n");
}

constexpr char kAll[] = "0 0 0 0 0 0";

void expectOfTextParser(KelpTest::Starvation& starvation) {
  const KelpTest::Ending noRequest = goesOn("10 10 10 10 10 10");
  const KelpTest::Ending noFile = goesOn("0 0 0 0 15 0");
  starvation.expect(Call::Open, {goesOn("10 10 10 10 10 10", {notOpenLine()})});
  starvation.expect(Call::Fstat, {goesOn(kAll)});
  starvation.expect(Call::Mmap, {noRequest});
  starvation.expect(Call::Munmap, {goesOn(kAll)});
  starvation.expect(Call::Close, {goesOn(kAll, {KelpTest::failedCloseLine()})});
  starvation.expect(Call::Malloc,
                    {goesOn("10 0 0 0 0 0"), goesOn("0 10 0 0 0 0"), goesOn("0 0 10 0 0 0"), goesOn("0 0 0 16 0 0")});
  starvation.expect(Call::Fopen, {noFile});
  starvation.expect(Call::Fwrite, {noFile});
  starvation.expect(Call::Fclose, {noFile});
  starvation.expect(Call::System, {goesOn("0 0 0 0 0 15", {notTouchedLine()})});
}

}  // namespace

TEST(ParserStarvationTest, EveryCallThatFailsOnAQueryStringEndsAsStated) {
  KelpTest::Starvation starvation(queryStringScenario());
  expectOfTextParser(starvation);
  starvation.failEachCall();
}

TEST(ParserStarvationTest, EveryNewThatFailsOnAQueryStringAbortsTheProcess) {
  KelpTest::Starvation(queryStringScenario()).failEachNew();
}

TEST(ParserStarvationTest, EveryCallThatFailsOnAFormEndsAsStated) {
  KelpTest::Starvation starvation(formScenario());
  expectOfTextParser(starvation);
  starvation.failEachCall();
}

TEST(ParserStarvationTest, EveryNewThatFailsOnAFormAbortsTheProcess) {
  KelpTest::Starvation(formScenario()).failEachNew();
}

TEST(ParserStarvationTest, EveryCallThatFailsOnARecordEndsAsStated) {
  KelpTest::Starvation starvation(recordScenario());
  const char* const all = "0 0 0 0";
  starvation.expect(Call::Open, {goesOn("10 10 10 10", {notOpenLine()})});
  starvation.expect(Call::Fstat, {goesOn(all)});
  starvation.expect(Call::Mmap, {goesOn("10 10 10 10")});
  starvation.expect(Call::Munmap, {goesOn(all)});
  starvation.expect(Call::Close, {goesOn(all, {KelpTest::failedCloseLine()})});
  starvation.expect(Call::Malloc, {goesOn("10 10 10 10"), goesOn("10 0 0 0"), goesOn("0 10 0 0"), goesOn("0 0 16 0"),
                                   goesOn("0 0 0 16")});
  starvation.expect(Call::Stat, {goesOn("0 0 0 15")});
  starvation.expect(Call::Fopen, {goesOn("0 0 0 15")});
  starvation.expect(Call::Fread, {goesOn("0 0 0 15")});
  starvation.expect(Call::Fwrite, {goesOn("0 0 0 15")});
  starvation.expect(Call::Fclose, {goesOn(all), goesOn("0 0 0 15")});
  starvation.failEachCall();
}

TEST(ParserStarvationTest, EveryNewThatFailsOnARecordAbortsTheProcess) {
  KelpTest::Starvation(recordScenario()).failEachNew();
}
