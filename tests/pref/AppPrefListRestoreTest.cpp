#include <errno.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "AppPref.h"
#include "AppPrefEnumeration.h"
#include "AppPrefFactory.h"
#include "AppPrefList.h"
#include "crcCalculator.h"
#include "pref/PrefFiles.h"
#include "support/CallFaults.h"
#include "support/LogCapture.h"
#include "support/TextFile.h"

namespace {

using Kelp::AppPref;
using Kelp::AppPrefList;
using Kelp::crcCalculator;
using KelpTest::allTypesJson;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::fileJson;
using KelpTest::itemJson;
using KelpTest::kAllTypesWritten;
using KelpTest::kPrefPath;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::readText;
using KelpTest::writeText;

constexpr char kSavedPath[] = "/tmp/saved.json";
constexpr int kOk = 0;
constexpr int kInvalidParameter = 1;
constexpr int kRefused = 22;
using Names = std::vector<std::string>;

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const size_t position = text.find(from);
  EXPECT_NE(position, std::string::npos) << from;
  return position == std::string::npos ? text : text.replace(position, from.size(), to);
}

std::string canonicalText(const AppPrefList& list) {
  std::string text;
  EXPECT_TRUE(list.getAppPrefJsonStringForCRC(text));
  return text;
}

std::string decimal(unsigned crc) {
  return std::to_string(crc);
}

std::string hexadecimal(unsigned crc) {
  char text[16];
  snprintf(text, sizeof text, "0x%04X", crc);
  return text;
}

std::string octal(unsigned crc) {
  char text[16];
  snprintf(text, sizeof text, "0%o", crc);
  return text;
}

// A canonical text with its checksum, in the form that `crcText` gives it.
std::string withChecksum(const std::string& text, std::string (*crcText)(unsigned) = decimal) {
  const unsigned crc = crcCalculator::getCRC(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  return replaced(text, "{", "{\"appPreferenceCrc\":\"" + crcText(crc) + "\",");
}

// The saved form of a preference file: its canonical text, with the checksum.
std::string savedForm(const std::string& json, std::string (*crcText)(unsigned) = decimal) {
  writeText("/tmp/source.json", json);
  return withChecksum(canonicalText(AppPrefList("/tmp/source.json", false, 0)), crcText);
}

std::string withMinor(const std::string& json, const std::string& minor) {
  return replaced(json, R"("minor": "2")", R"("minor": ")" + minor + "\"");
}

std::vector<std::string> messagesOf(const std::vector<LogLine>& lines) {
  std::vector<std::string> messages;
  for (const LogLine& line : lines) {
    if (line.file != "FileOperator.cpp") {
      messages.push_back(line.message);
    }
  }
  return messages;
}

class AppPrefListRestoreTest : public testing::Test {
 protected:
  AppPrefListRestoreTest() {
    writeText(kPrefPath, allTypesJson());
    m_list = std::make_unique<AppPrefList>(kPrefPath, false, 0);
    EXPECT_FALSE(m_list->hasError());
  }

  int restore(const std::string& saved) {
    writeText(kSavedPath, saved);
    return m_list->AppPrefRestore(kSavedPath, &m_changed);
  }

  // The saved file is refused with this line, and neither list nor file has changed.
  void expectRefused(const std::string& saved, const std::vector<std::string>& messages) {
    const LogCapture log;
    EXPECT_EQ(restore(saved), kRefused);
    EXPECT_EQ(messagesOf(log.errors()), messages);
    expectUntouched();
  }

  void expectUntouched() {
    EXPECT_EQ(canonicalText(*m_list), kAllTypesWritten);
    EXPECT_EQ(readText(kPrefPath), allTypesJson());
    EXPECT_TRUE(m_changed.empty());
  }

  std::string valueOf(const std::string& name) { return m_list->getAppPref(name)->getValueByString(); }

  std::unique_ptr<AppPrefList> m_list;
  Names m_changed;
};

// What the saved file of another day holds: two values differ.
std::string otherDay() {
  return replaced(replaced(allTypesJson(), R"("value": "42")", R"("value": "43")"), R"("value": "off")",
                  R"("value": "manual")");
}

TEST_F(AppPrefListRestoreTest, CanonicalTextIsWhatWriteFileWrites) {
  EXPECT_EQ(canonicalText(*m_list), kAllTypesWritten);
  ASSERT_EQ(m_list->writeFile(kPrefPath), kOk);
  EXPECT_EQ(canonicalText(*m_list), readText(kPrefPath));
}

TEST_F(AppPrefListRestoreTest, CanonicalTextHasNoValueForAnItemInError) {
  m_list->getAppPrefEnumeration("enumeration")->setValue(3);
  EXPECT_EQ(canonicalText(*m_list), replaced(kAllTypesWritten, "\"value\":\"off\"", "\"value\":\"\""));
}

TEST_F(AppPrefListRestoreTest, ValuesComeBackAndTheFileIsWritten) {
  EXPECT_EQ(restore(savedForm(otherDay())), kOk);
  EXPECT_EQ(m_changed, (Names{"integer", "enumeration"}));
  EXPECT_EQ(valueOf("integer"), "43");
  EXPECT_EQ(valueOf("enumeration"), "manual");
  EXPECT_EQ(readText(kPrefPath), canonicalText(*m_list));
}

TEST_F(AppPrefListRestoreTest, NobodyHasToAskWhatChanged) {
  writeText(kSavedPath, savedForm(otherDay()));
  EXPECT_EQ(m_list->AppPrefRestore(kSavedPath, nullptr), kOk);
  EXPECT_EQ(valueOf("integer"), "43");
}

TEST_F(AppPrefListRestoreTest, ChecksumIsTakenInAnyBase) {
  for (const auto crcText : {decimal, hexadecimal, octal}) {
    EXPECT_EQ(restore(savedForm(otherDay(), crcText)), kOk);
  }
}

TEST_F(AppPrefListRestoreTest, ChecksumAndIdentifierGoToTheTraceLevel) {
  const std::string saved = savedForm(otherDay(), hexadecimal);
  const LogCapture log;
  EXPECT_EQ(restore(saved), kOk);
  const std::vector<std::string> messages = messagesOf(log.traces());
  ASSERT_GE(messages.size(), 2U);
  EXPECT_EQ(messages[0], "appPreferenceCrc: " + saved.substr(saved.find("0x"), 6));
  EXPECT_EQ(messages[1], "funcId: 0000A012");
  EXPECT_TRUE(log.errors().empty());
}

TEST_F(AppPrefListRestoreTest, TextsOfTheSavedFileAreLoggedAsTheyAre) {
  const LogCapture log;
  EXPECT_EQ(restore(replaced(kAllTypesWritten, "{", R"({"appPreferenceCrc":"%n\n00812:1 forged L:1 line ",)")),
            kRefused);
  EXPECT_EQ(messagesOf(log.traces()), Names{"appPreferenceCrc: %n\n00812:1 forged L:1 line "});
}

TEST_F(AppPrefListRestoreTest, ChecksumAndIdentifierAreShownBeforeTheyAreExamined) {
  const std::string saved = replaced(kAllTypesWritten, "{", "{\"appPreferenceCrc\":\"12x\",");
  {
    const LogCapture log;
    EXPECT_EQ(restore(saved), kRefused);
    EXPECT_EQ(messagesOf(log.lines()), (Names{"appPreferenceCrc: 12x", "appPreferenceCrc is not integer"}));
  }
  const LogCapture log;
  EXPECT_EQ(restore(replaced(replaced(saved, "12x", "12"), "0000A012", "A012x")), kRefused);
  EXPECT_EQ(messagesOf(log.lines()), (Names{"appPreferenceCrc: 12", "funcId: A012x", "FuncId is not integer"}));
}

TEST_F(AppPrefListRestoreTest, AnyByteOfAValueThatChangedIsRefused) {
  const std::string saved = savedForm(otherDay());
  for (const auto& [from, to] : {std::pair("\"43\"", "\"44\""), std::pair("front door", "front dour"),
                                 std::pair("TWFu", "TWFv"), std::pair("\"TRUE\"", "\"FALSE\"")}) {
    expectRefused(replaced(saved, from, to), {"CRC ERROR"});
  }
}

TEST_F(AppPrefListRestoreTest, LayoutOfTheSavedFileDoesNotCount) {
  std::string saved = savedForm(otherDay());
  saved.erase(std::remove(saved.begin(), saved.end(), '\n'), saved.end());
  EXPECT_EQ(restore(saved), kOk);
}

TEST_F(AppPrefListRestoreTest, ChecksumOfMoreThan16BitsIsRefused) {
  expectRefused(savedForm(otherDay(), [](unsigned crc) { return decimal(crc + 0x10000); }), {"CRC ERROR"});
  expectRefused(savedForm(otherDay(), [](unsigned crc) { return "-" + decimal(0x10000 - crc); }), {"CRC ERROR"});
}

TEST_F(AppPrefListRestoreTest, MissingFileIsRefused) {
  const LogCapture log;
  EXPECT_EQ(m_list->AppPrefRestore("/tmp/none.json", &m_changed), kRefused);
  EXPECT_EQ(messagesOf(log.errors()), Names{"File Open Error(/tmp/none.json)"});
  expectUntouched();
}

TEST_F(AppPrefListRestoreTest, UnreadableFileIsRefused) {
  ASSERT_EQ(mkdir("/tmp/directory", 0755), 0);
  const LogCapture log;
  EXPECT_EQ(m_list->AppPrefRestore("/tmp/directory", &m_changed), kRefused);
  EXPECT_EQ(messagesOf(log.errors()), Names{"###ERROR###"});
  expectUntouched();
}

TEST_F(AppPrefListRestoreTest, FailedReadIsRefused) {
  const std::string saved = savedForm(otherDay());
  const CallFault fault(Call::Read, EIO);
  expectRefused(saved, {"###ERROR###"});
}

TEST_F(AppPrefListRestoreTest, FileThatThereIsNoMemoryForIsRefused) {
  writeText(kSavedPath, savedForm(otherDay()));
  const LogCapture log;
  const CallFault fault(Call::Malloc, ENOMEM);
  EXPECT_EQ(m_list->AppPrefRestore(kSavedPath, &m_changed), kRefused);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_EQ(messagesOf(log.errors()), Names{"###ERROR###"});
  expectUntouched();
}

TEST_F(AppPrefListRestoreTest, FileWithAGoodOneIn4GiBIsRefused) {
  const std::string saved = savedForm(otherDay());
  writeText(kSavedPath, saved);
  ASSERT_EQ(truncate(kSavedPath, (1LL << 32) + static_cast<long long>(saved.size())), 0);
  const LogCapture log;
  EXPECT_EQ(m_list->AppPrefRestore(kSavedPath, &m_changed), kRefused);
  EXPECT_EQ(messagesOf(log.errors()), Names{"###ERROR###"});
  expectUntouched();
}

TEST_F(AppPrefListRestoreTest, SavedFileMayBeOfAnySize) {
  EXPECT_EQ(restore(savedForm(otherDay()) + std::string(1 << 20, ' ')), kOk);
  EXPECT_EQ(valueOf("integer"), "43");
}

TEST_F(AppPrefListRestoreTest, WhatIsNoJsonIsRefused) {
  expectRefused("", {"Invalid AppPrefFile Format"});
  expectRefused("{\"appPreferenceCrc\":", {"Invalid AppPrefFile Format"});
  expectRefused(std::string(100, '['), {"Invalid AppPrefFile Format"});
}

struct Broken {
  const char* from;
  const char* to;
  const char* message;
};

class AppPrefListRestoreRefusalTest : public AppPrefListRestoreTest, public testing::WithParamInterface<int> {};

const Broken kBroken[] = {
    {"appPreferenceCrc", "crc", "CRC is NULL"},
    {"\"appPreferenceCrc\":\"1\"", "\"appPreferenceCrc\":null", "CRC is NULL"},
    {"\"appPreferenceCrc\":\"1\"", "\"appPreferenceCrc\":[1]", "CRC is NULL"},
    {"\"appPreferenceCrc\":\"1\"", "\"appPreferenceCrc\":\"\"", "appPreferenceCrc is not integer"},
    {"\"appPreferenceCrc\":\"1\"", "\"appPreferenceCrc\":\"12x\"", "appPreferenceCrc is not integer"},
    {"\"appPreferenceCrc\":\"1\"", "\"appPreferenceCrc\":\"99999999999999999999\"", "appPreferenceCrc is not integer"},
    {"funcId", "functionId", "FuncId is NULL"},
    {"\"0000A012\"", "{}", "FuncId is NULL"},
    {"0000A012", "A012x", "FuncId is not integer"},
    {"0000A012", "", "FuncId is not integer"},
    {"0000A012", "FFFFFFFFFFFFFFFFF", "FuncId is not integer"},
    {"0000A012", "0000A013", "FuncId is not different"},
    {"0000A012", "10000A012", "FuncId is not different"},
    {"\"0000A012\"", "1012", "FuncId is not different"},
    {"preferenceVersion", "version", "preferenceVersion is NULL"},
    {"{\n    \"major\":\"1\",\n    \"minor\":\"2\"\n  }", "\"1.2\"", "preferenceVersion is NULL"},
    {"major", "main", "majorVersion is NULL"},
    {"\"major\":\"1\"", "\"major\":{}", "majorVersion is NULL"},
    {"\"major\":\"1\"", "\"major\":\"\"", "majorVersion is NULL"},
    {"\"major\":\"1\"", "\"major\":\"1a\"", "majorVersion is not integer"},
    {"\"major\":\"1\"", "\"major\":\"0x1\"", "majorVersion is not integer"},
    {"\"major\":\"1\"", "\"major\":\"99999999999999999999\"", "majorVersion is not integer"},
    {"minor", "side", "minorVersion is NULL"},
    {"\"minor\":\"2\"", "\"minor\":null", "minorVersion is NULL"},
    {"\"minor\":\"2\"", "\"minor\":\"\"", "minorVersion is NULL"},
    {"\"minor\":\"2\"", "\"minor\":\"b\"", "majorVersion is not integer"},
    {"\"minor\":\"2\"", "\"minor\":\"0x2\"", "majorVersion is not integer"},
    {"\"preference\"", "\"items\"", "AppPrefList is NULL"},
    {"\"value\":\"42\"", "\"worth\":\"42\"", "ERROR:decompose error."},
    {"\"value\":\"42\"", "\"value\":[42]", "ERROR:decompose error."},
    {"\"Integer\"", "\"Number\"", "ERROR:decompose error."},
    {"\"preference\":[", "\"preference\":[1,", "ERROR:decompose error."},
};

TEST_P(AppPrefListRestoreRefusalTest, LeavesTheLineOfItsFault) {
  const Broken& broken = kBroken[GetParam()];
  const std::string saved = replaced(kAllTypesWritten, "{", "{\"appPreferenceCrc\":\"1\",");
  expectRefused(replaced(saved, broken.from, broken.to), {broken.message});
}

INSTANTIATE_TEST_SUITE_P(Faults, AppPrefListRestoreRefusalTest,
                         testing::Range(0, static_cast<int>(sizeof kBroken / sizeof *kBroken)));

// Each fault here stands before those above it in the order of examination, and is the one that is logged.
TEST_F(AppPrefListRestoreTest, OnlyTheFirstOfSeveralFaultsIsLogged) {
  const Broken faults[] = {
      {"\"value\":\"front door\"", "\"value\":\"back door\"", "CRC ERROR"},
      {"\"value\":\"43\"", "\"worth\":\"43\"", "ERROR:decompose error."},
      {"\"preference\"", "\"items\"", "AppPrefList is NULL"},
      {"\"minor\":\"2\"", "\"minor\":\"\"", "minorVersion is NULL"},
      {"\"major\":\"7\"", "\"major\":\"7a\"", "majorVersion is not integer"},
      {"\"0000A012\"", "\"0000A013\"", "FuncId is not different"},
      {"\"appPreferenceCrc\":\"", "\"appPreferenceCrc\":\"x", "appPreferenceCrc is not integer"},
  };
  std::string saved = savedForm(replaced(otherDay(), R"("major": "1")", R"("major": "7")"));
  expectRefused(saved, {"Major Version ERROR"});
  for (const Broken& fault : faults) {
    saved = replaced(saved, fault.from, fault.to);
    expectRefused(saved, {fault.message});
  }
}

TEST_F(AppPrefListRestoreTest, PreferencesThatAreNoArrayAreRefused) {
  expectRefused(R"({"appPreferenceCrc":"1","funcId":"A012","preferenceVersion":{"major":"1","minor":"2"},)"
                R"("preference":{"a":1}})",
                {"AppPrefList is NULL"});
}

TEST_F(AppPrefListRestoreTest, MajorVersionsAreComparedAsTexts) {
  expectRefused(savedForm(replaced(otherDay(), R"("major": "1")", R"("major": "01")")), {"Major Version ERROR"});
}

TEST_F(AppPrefListRestoreTest, OtherMajorVersionIsRefused) {
  expectRefused(savedForm(replaced(otherDay(), R"("major": "1")", R"("major": "2")")), {"Major Version ERROR"});
}

std::string withExtraItem() {
  std::string json = otherDay();
  return json.insert(json.size() - 2, ", " + itemJson("extra", "String", "", "more"));
}

TEST_F(AppPrefListRestoreTest, ExtraItemOfTheSameMinorVersionIsRefusedSilently) {
  expectRefused(savedForm(withExtraItem()), {});
}

TEST_F(AppPrefListRestoreTest, MissingItemOfTheSameMinorVersionIsRefusedSilently) {
  expectRefused(savedForm(fileJson({itemJson("integer", "Integer", "1", "43")})), {});
}

TEST_F(AppPrefListRestoreTest, ExtraItemOfAnotherMinorVersionIsIgnored) {
  EXPECT_EQ(restore(savedForm(withMinor(withExtraItem(), "3"))), kOk);
  EXPECT_EQ(m_changed, (Names{"integer", "enumeration"}));
  EXPECT_EQ(m_list->getAppPref("extra"), nullptr);
  EXPECT_EQ(m_list->getMinorPrefVersion(), "2");
}

TEST_F(AppPrefListRestoreTest, MinorVersionsAreDecimalNumbersComparedAsTexts) {
  for (const std::string minor : {"02", "08"}) {
    EXPECT_EQ(restore(savedForm(withMinor(withExtraItem(), minor))), kOk) << minor;
  }
}

TEST_F(AppPrefListRestoreTest, MissingItemOfAnotherMinorVersionKeepsItsValue) {
  const std::string json = fileJson({itemJson("integer", "Integer", "1", "43")});
  EXPECT_EQ(restore(savedForm(withMinor(json, "3"))), kOk);
  EXPECT_EQ(m_changed, Names{"integer"});
  EXPECT_EQ(valueOf("string"), "front door");
}

// The saved string item differs in its access; the items before it have other values already.
std::string withOtherAccess() {
  return replaced(otherDay(), R"("value": "front door")", R"("value": "back door", "webApiAccess": "Read")");
}

TEST_F(AppPrefListRestoreTest, OtherAccessOfTheSameMinorVersionIsRefusedWhereItStands) {
  const std::string saved = savedForm(withOtherAccess());
  const LogCapture log;
  EXPECT_EQ(restore(saved), kRefused);
  EXPECT_EQ(messagesOf(log.errors()), Names{"ERROR:Minor Version is same but different parameters"});
  EXPECT_EQ(m_changed, Names{"integer"});  // carried over before the fault was met, in memory only
  EXPECT_EQ(valueOf("string"), "front door");
  EXPECT_EQ(readText(kPrefPath), allTypesJson());
}

TEST_F(AppPrefListRestoreTest, OtherAccessOfAnotherMinorVersionIsCarriedOver) {
  EXPECT_EQ(restore(savedForm(withMinor(withOtherAccess(), "3"))), kOk);
  EXPECT_EQ(m_changed, (Names{"integer", "string", "enumeration"}));
  EXPECT_EQ(valueOf("string"), "back door");
}

TEST_F(AppPrefListRestoreTest, EnumerationValueThatIsGoneIsNotCarriedOver) {
  const std::string json =
      fileJson({itemJson("enumeration", "Enumeration", "auto", "night", R"(, "enumerationList": ["auto", "night"])")});
  EXPECT_EQ(restore(savedForm(withMinor(json, "3"))), kOk);
  EXPECT_TRUE(m_changed.empty());
  EXPECT_EQ(valueOf("enumeration"), "off");
}

TEST_F(AppPrefListRestoreTest, ItemOfAnotherTypeIsNotCarriedOver) {
  const std::string json = fileJson({itemJson("integer", "String", "1", "43")});
  EXPECT_EQ(restore(savedForm(withMinor(json, "3"))), kOk);
  EXPECT_TRUE(m_changed.empty());
  EXPECT_EQ(valueOf("integer"), "42");
}

TEST_F(AppPrefListRestoreTest, RefusedValueStopsTheRestoreAndWritesNothing) {
  // 1024 bytes may stand in a file, but not be set by text.
  const std::string json = replaced(otherDay(), "front door", std::string(1024, 'x'));
  EXPECT_EQ(restore(savedForm(json)), kInvalidParameter);
  EXPECT_EQ(m_changed, Names{"integer"});
  EXPECT_EQ(valueOf("string"), "front door");
  EXPECT_EQ(valueOf("enumeration"), "off");
  EXPECT_EQ(readText(kPrefPath), allTypesJson());
}

TEST_F(AppPrefListRestoreTest, RefusedValueOfAnotherMinorVersionStopsTheRestoreToo) {
  const std::string json = replaced(otherDay(), "front door", std::string(1024, 'x'));
  EXPECT_EQ(restore(savedForm(withMinor(json, "3"))), kInvalidParameter);
  EXPECT_EQ(m_changed, Names{"integer"});
  EXPECT_EQ(valueOf("enumeration"), "off");
  EXPECT_EQ(readText(kPrefPath), allTypesJson());
}

// Its checksum is that of the text that a list with such an item has.
TEST_F(AppPrefListRestoreTest, SavedItemInErrorHasAnEmptyValue) {
  const std::string from = "\"value\":\"TRUE\"";
  const std::string saved = withChecksum(replaced(kAllTypesWritten, from, "\"value\":\"\""));
  const std::string inError = replaced(saved, "\"value\":\"\"", "\"value\":\"true\"");
  const LogCapture log;
  EXPECT_EQ(restore(inError), kInvalidParameter);  // no Boolean takes an empty text
  EXPECT_EQ(messagesOf(log.errors()), Names{"SET PREF ERROR."});
  expectUntouched();
}

TEST_F(AppPrefListRestoreTest, ValuesWhoseFileIsTooLongToBeWrittenAreRestoredInMemory) {
  std::vector<std::string> items;
  for (int i = 0; i < 1000; ++i) {
    items.push_back(itemJson("pref" + std::to_string(i), "String", "", i == 0 ? "old" : std::string(40, 'v')));
  }
  const std::string json = fileJson(items);
  writeText(kPrefPath, json);
  m_list = std::make_unique<AppPrefList>(kPrefPath, false, 0);
  ASSERT_FALSE(m_list->hasError());
  const std::string saved = savedForm(replaced(json, "\"old\"", "\"new\""));
  const LogCapture log;
  EXPECT_EQ(restore(saved), kOk);
  EXPECT_EQ(messagesOf(log.errors()), Names{"###ERROR###"});
  EXPECT_EQ(m_changed, Names{"pref0"});
  EXPECT_EQ(valueOf("pref0"), "new");
  EXPECT_EQ(readText(kPrefPath), json);
}

TEST_F(AppPrefListRestoreTest, ValuesWhoseFileThereIsNoMemoryForAreRestoredInMemory) {
  writeText(kSavedPath, savedForm(otherDay()));
  const LogCapture log;
  const CallFault fault(Call::JsonToString, ENOMEM, 1);  // the first text is the checksum's
  EXPECT_EQ(m_list->AppPrefRestore(kSavedPath, &m_changed), kOk);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_EQ(messagesOf(log.errors()), Names{"###ERROR###"});
  EXPECT_EQ(valueOf("integer"), "43");
  EXPECT_EQ(readText(kPrefPath), allTypesJson());
}

TEST_F(AppPrefListRestoreTest, FailedWriteDoesNotTakeTheValuesBack) {
  writeText(kSavedPath, savedForm(otherDay()));
  const CallFault fault(Call::Rename, EIO);
  EXPECT_EQ(m_list->AppPrefRestore(kSavedPath, &m_changed), kOk);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_EQ(valueOf("integer"), "43");
  EXPECT_EQ(readText(kPrefPath), allTypesJson());
}

TEST_F(AppPrefListRestoreTest, DefaultsComeBackAndAreNamed) {
  m_list->setDefaultValue(&m_changed);
  EXPECT_EQ(m_changed, (Names{"boolean", "integer", "string", "enumeration", "binary"}));
  EXPECT_EQ(valueOf("integer"), "1");
  EXPECT_EQ(valueOf("enumeration"), "auto");
  EXPECT_EQ(readText(kPrefPath), allTypesJson());
}

TEST_F(AppPrefListRestoreTest, ItemsAtTheirDefaultAreNotTouched) {
  m_list->setDefaultValue(nullptr);
  m_list->setDefaultValue(&m_changed);
  EXPECT_TRUE(m_changed.empty());
}

// An enumeration shows that it was set: of equal elements a file means the last, and setting the first.
TEST_F(AppPrefListRestoreTest, ItemThatHasItsDefaultFromTheFileIsNotSetToIt) {
  writeText(kPrefPath, fileJson({itemJson("enumeration", "Enumeration", "auto", "auto",
                                          R"(, "enumerationList": ["auto", "off", "auto"])")}));
  AppPrefList list(kPrefPath, false, 0);
  list.setDefaultValue(&m_changed);
  EXPECT_TRUE(m_changed.empty());
  EXPECT_EQ(list.getAppPrefEnumeration("enumeration")->getValue(), 2);
}

std::unique_ptr<AppPref> makePref(const std::string& name, const std::string& type, const std::string& value,
                                  const std::string& defaultValue = "auto",
                                  Kelp::ApiAccessType appAccess = Kelp::ApiAccessType_ReadWrite,
                                  Kelp::ApiAccessType webAccess = Kelp::ApiAccessType_ReadWrite,
                                  const std::vector<std::string>& elements = {"auto", "manual", "off"}) {
  return std::unique_ptr<AppPref>(
      Kelp::AppPrefFactory::createAppPref(name, type, elements, defaultValue, appAccess, webAccess, value));
}

TEST_F(AppPrefListRestoreTest, SamePrefIsOfTheSameNameAndType) {
  EXPECT_FALSE(m_list->hasSamePref(nullptr));
  EXPECT_TRUE(m_list->hasSamePref(makePref("string", "String", "anything").get()));
  EXPECT_FALSE(m_list->hasSamePref(makePref("String", "String", "anything").get()));
  EXPECT_FALSE(m_list->hasSamePref(makePref("string", "Binary", "TWFu").get()));
  EXPECT_TRUE(m_list->hasSamePref(makePref("enumeration", "Enumeration", "manual").get()));
  EXPECT_FALSE(
      m_list->hasSamePref(makePref("enumeration", "Enumeration", "night", "auto", Kelp::ApiAccessType_ReadWrite,
                                   Kelp::ApiAccessType_ReadWrite, {"auto", "night"})
                              .get()));
}

TEST_F(AppPrefListRestoreTest, SamePrefInAllButItsValue) {
  const auto readWrite = Kelp::ApiAccessType_ReadWrite;
  const auto read = Kelp::ApiAccessType_Read;
  const auto isSame = [this](const std::unique_ptr<AppPref>& pref) { return m_list->hasSamePrefAll(pref.get()); };
  EXPECT_FALSE(m_list->hasSamePrefAll(nullptr));
  EXPECT_TRUE(isSame(makePref("enumeration", "Enumeration", "manual")));
  EXPECT_FALSE(isSame(makePref("enumerations", "Enumeration", "manual")));
  EXPECT_FALSE(isSame(makePref("enumeration", "String", "manual")));
  EXPECT_FALSE(isSame(makePref("enumeration", "Enumeration", "manual", "off")));
  EXPECT_FALSE(isSame(makePref("enumeration", "Enumeration", "manual", "auto", read)));
  EXPECT_FALSE(isSame(makePref("enumeration", "Enumeration", "manual", "auto", readWrite, read)));
  EXPECT_FALSE(isSame(makePref("enumeration", "Enumeration", "off", "auto", readWrite, readWrite, {"auto", "off"})));
  EXPECT_FALSE(
      isSame(makePref("enumeration", "Enumeration", "off", "auto", readWrite, readWrite, {"manual", "auto", "off"})));
}

}  // namespace
