// Preferences: a list is loaded, changed and saved; and a saved file is restored into a list.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "AppPrefList.h"
#include "crcCalculator.h"
#include "pref/PrefFiles.h"
#include "starvation/LoopLines.h"
#include "starvation/Starvation.h"
#include "support/FileStatus.h"
#include "support/TextFile.h"

namespace {

using Kelp::AppPrefList;
using KelpTest::Call;
using KelpTest::Ending;
using KelpTest::errorLine;
using KelpTest::errorOf;
using KelpTest::goesOn;
using KelpTest::kPrefPath;
using KelpTest::LogLine;
using KelpTest::readText;
using KelpTest::UncountedCalls;
using KelpTest::writeText;

constexpr char kSavedPath[] = "/tmp/saved.json";
constexpr char kSaved[] = "changed 0, saved 0, new";
constexpr char kRestored[] = "restored 0, new";

// What the text of a file is made with.
constexpr Call kMakersOfJson[] = {Call::JsonNewObject, Call::JsonNewArray, Call::JsonNewString,
                                  Call::JsonObjectAdd, Call::JsonArrayAdd, Call::JsonToString};

// A file of a list with an enumeration and a Boolean.
std::string fileText(const std::string& mode, const std::string& enabled) {
  std::string text = KelpTest::kDocumentedExample;
  text.replace(text.find("\"manual\"\n    }"), 8, "\"" + mode + "\"");
  text.replace(text.find("\"value\":\"TRUE\""), 14, "\"value\":\"" + enabled + "\"");
  return text;
}

const std::string kOldText = fileText("manual", "TRUE");
const std::string kNewText = fileText("auto", "FALSE");

std::string temporaryPath() {
  return std::string(kPrefPath) + "~";
}

// "old" or "new" when the preference file is whole.
std::string fileState() {
  const UncountedCalls own;
  const std::string text = readText(kPrefPath);
  if (text == kOldText) {
    return "old";
  }
  return text == kNewText ? "new" : "torn: " + text;
}

// Only where the process was aborted the temporary file may be there still.
std::string checkFiles(bool isAborted) {
  const std::string state = fileState();
  if (state != "old" && state != "new") {
    return state;
  }
  return KelpTest::exists(temporaryPath()) && !isAborted ? "left behind: " + temporaryPath() : "";
}

void putOldFile() {
  writeText(kPrefPath, kOldText);
}

// The saved file holds the new values, with their checksum behind them.
void putOldAndSavedFile() {
  putOldFile();
  const auto* const bytes = reinterpret_cast<const unsigned char*>(kNewText.data());
  const std::string crc = std::to_string(Kelp::crcCalculator::getCRC(bytes, kNewText.size()));
  writeText(kSavedPath, kNewText.substr(0, kNewText.rfind('}')) + ", \"appPreferenceCrc\": \"" + crc + "\"}");
}

std::string loadChangeAndSave() {
  AppPrefList list(kPrefPath, false, 0);
  if (list.hasError()) {
    return "not loaded";
  }
  const int changes = list.setEnumeration("mode", 0) + list.setBoolean("enabled", false);
  const int result = list.writeFile(kPrefPath);
  return "changed " + std::to_string(changes) + ", saved " + std::to_string(result) + ", " + fileState();
}

std::string loadAndRestore() {
  AppPrefList list(kPrefPath, false, 0);
  if (list.hasError()) {
    return "not loaded";
  }
  const int result = list.AppPrefRestore(kSavedPath, nullptr);
  return "restored " + std::to_string(result) + ", " + fileState();
}

LogLine listLine(const std::string& function, const std::string& message) {
  return errorLine("AppPrefList.cpp", 0, function, message);
}

LogLine savedLine(const std::string& function, const std::string& message) {
  return errorLine("SavedPrefFile.cpp", 0, function, message);
}

LogLine notOpenLine() {
  return errorLine("FileOperator.cpp", 0, "open",
                   "###ERROR### open() returns error(errno=" + std::to_string(errorOf(Call::Open)) + ").\n");
}

Ending notLoaded(const std::string& function, const std::string& message) {
  return goesOn("not loaded", {listLine(function, message)});
}

Ending notRestored(const std::string& function, const std::string& message) {
  return goesOn("restored 22, old", {savedLine(function, message)});
}

// How loading ends when a text cannot be had.
std::vector<Ending> endingsOfTexts() {
  return {notLoaded("loadFuncId", "FuncId is NULL"), notLoaded("loadVersion", "majorVersion is NULL"),
          notLoaded("loadVersion", "minorVersion is NULL"), notLoaded("loadItems", "ERROR:decompose error. 0/2"),
          notLoaded("loadItems", "ERROR:decompose error. 1/2")};
}

// The lines of writeFile().
LogLine notWrittenLine() {
  return listLine("writeFile", "Can't write PrefFile " + temporaryPath());
}

std::vector<LogLine> notRenamedLines() {
  return {errorLine("SysFunc.cpp", 0, "kelpRename",
                    "ERROR: Can't rename " + temporaryPath() + " to " + kPrefPath +
                        " errno: " + std::to_string(errorOf(Call::Rename)) + "\n"),
          listLine("writeFile", "Can't rename PrefFile " + temporaryPath() + "~")};
}

LogLine notChangedModeLine() {
  return listLine("writeFile", "Can't chmod prefFile " + temporaryPath());
}

}  // namespace

TEST(PreferenceStarvationTest, EveryCallThatFailsInLoadingAndSavingEndsAsStated) {
  KelpTest::Starvation starvation({putOldFile, loadChangeAndSave, checkFiles});
  starvation.expect(Call::Open,
                    {goesOn("not loaded", {notOpenLine(), listLine("load", "ERROR:can not open pref file.")}),
                     goesOn("changed 0, saved 15, old", {notOpenLine()})});
  starvation.expect(Call::Fstat, {goesOn(kSaved)});
  starvation.expect(Call::Malloc, {notLoaded("load", "###ERROR###")});
  starvation.expect(Call::Read, {notLoaded("load", "###ERROR###")});
  starvation.expect(Call::JsonParse, {notLoaded("load", "Invalid AppPrefFile File Format")});
  starvation.expect(Call::JsonGetString, endingsOfTexts());
  for (const Call call : kMakersOfJson) {
    starvation.expect(call, {goesOn("changed 0, saved 16, old")});
  }
  starvation.expect(Call::Write, {goesOn("changed 0, saved 15, old", {notWrittenLine()})});
  starvation.expect(Call::Close, {goesOn(kSaved, {KelpTest::failedCloseLine()}),
                                  goesOn("changed 0, saved 15, old", {KelpTest::failedCloseLine(), notWrittenLine()})});
  starvation.expect(Call::Rename, {goesOn("changed 0, saved 14, old", notRenamedLines())});
  starvation.expect(Call::Stat, {goesOn("changed 0, saved 15, new", {notChangedModeLine()})});
  starvation.expect(Call::Chmod, {goesOn("changed 0, saved 15, new", {notChangedModeLine()})});
  starvation.failEachCall();
}

TEST(PreferenceStarvationTest, EveryNewThatFailsInLoadingAndSavingAbortsTheProcess) {
  KelpTest::Starvation({putOldFile, loadChangeAndSave, checkFiles}).failEachNew();
}

TEST(PreferenceStarvationTest, EveryCallThatFailsInARestoreEndsAsStated) {
  KelpTest::Starvation starvation({putOldAndSavedFile, loadAndRestore, checkFiles});
  starvation.expect(Call::Open,
                    {goesOn("not loaded", {notOpenLine(), listLine("load", "ERROR:can not open pref file.")}),
                     goesOn("restored 22, old",
                            {notOpenLine(), savedLine("readRoot", std::string("File Open Error(") + kSavedPath + ")")}),
                     goesOn("restored 0, old", {notOpenLine()})});
  starvation.expect(Call::Fstat, {goesOn(kRestored)});
  starvation.expect(Call::Malloc, {notLoaded("load", "###ERROR###"), notRestored("readRoot", "###ERROR###")});
  starvation.expect(Call::Read, {notLoaded("load", "###ERROR###"), notRestored("readRoot", "###ERROR###")});
  starvation.expect(Call::JsonParse, {notLoaded("load", "Invalid AppPrefFile File Format"),
                                      notRestored("readRoot", "Invalid AppPrefFile Format")});
  std::vector<Ending> endings = endingsOfTexts();
  for (const Ending& ending :
       {notRestored("readCrc", "CRC is NULL"), notRestored("readFuncId", "FuncId is NULL"),
        notRestored("readVersion", "majorVersion is NULL"), notRestored("readVersion", "minorVersion is NULL"),
        notRestored("readItems", "ERROR:decompose error.")}) {
    endings.push_back(ending);
  }
  starvation.expect(Call::JsonGetString, endings);
  for (const Call call : kMakersOfJson) {
    starvation.expect(call, {notRestored("checkCrc", "CRC ERROR"),
                             goesOn("restored 0, old", {listLine("AppPrefRestore", "###ERROR###")})});
  }
  starvation.expect(Call::Write, {goesOn("restored 0, old", {notWrittenLine()})});
  starvation.expect(Call::Close, {goesOn(kRestored, {KelpTest::failedCloseLine()}),
                                  goesOn("restored 0, old", {KelpTest::failedCloseLine(), notWrittenLine()})});
  starvation.expect(Call::Rename, {goesOn("restored 0, old", notRenamedLines())});
  starvation.expect(Call::Stat, {goesOn(kRestored, {notChangedModeLine()})});
  starvation.expect(Call::Chmod, {goesOn(kRestored, {notChangedModeLine()})});
  starvation.failEachCall();
}

TEST(PreferenceStarvationTest, EveryNewThatFailsInARestoreAbortsTheProcess) {
  KelpTest::Starvation({putOldAndSavedFile, loadAndRestore, checkFiles}).failEachNew();
}
