#include <errno.h>
#include <gtest/gtest.h>
#include <json-c/json.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "AppPrefBinary.h"
#include "AppPrefBoolean.h"
#include "AppPrefEnumeration.h"
#include "AppPrefInteger.h"
#include "AppPrefList.h"
#include "AppPrefString.h"
#include "pref/PrefFiles.h"
#include "support/CallFaults.h"
#include "support/LogCapture.h"
#include "support/TextFile.h"

namespace {

using Kelp::AppPref;
using Kelp::AppPrefList;
using KelpTest::allTypesJson;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::fileJson;
using KelpTest::itemJson;
using KelpTest::kDocumentedExample;
using KelpTest::kPrefPath;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::writeText;

constexpr int kFuncId = 0xA012;

// The messages that the list's own module logged.
std::vector<std::string> messages(const LogCapture& log) {
  std::vector<std::string> result;
  for (const LogLine& line : log.errors()) {
    if (line.file == "AppPrefList.cpp") {
      result.push_back(line.message);
    }
  }
  return result;
}

// What a load left behind.
struct Loaded {
  bool hasError;
  std::vector<std::string> names;
  std::vector<std::string> messages;
};

std::vector<std::string> namesOf(const AppPrefList& list) {
  std::vector<std::string> names;
  for (const AppPref* pref : list.getPrefList()) {
    names.push_back(pref->getPrefName());
  }
  return names;
}

Loaded load(const std::string& text, bool isDefaultFile = false, int expectedFuncId = kFuncId) {
  writeText(kPrefPath, text);
  LogCapture log;
  const AppPrefList list(kPrefPath, isDefaultFile, expectedFuncId);
  return {list.hasError(), namesOf(list), messages(log)};
}

void expectGood(const std::string& text, bool isDefaultFile = false) {
  const Loaded loaded = load(text, isDefaultFile);
  EXPECT_FALSE(loaded.hasError);
  EXPECT_EQ(loaded.messages, std::vector<std::string>());
}

void expectFailure(const std::string& text, const std::vector<std::string>& messages, bool isDefaultFile = false) {
  const Loaded loaded = load(text, isDefaultFile);
  EXPECT_TRUE(loaded.hasError) << text;
  EXPECT_EQ(loaded.messages, messages) << text;
}

// A file with one item of these keys.
std::string oneItem(const std::string& keys) {
  return fileJson({"{" + keys + "}"});
}

const std::vector<std::string> kDecomposeError = {"ERROR:decompose error. 0/1"};

TEST(AppPrefListTest, LoadsItemsOfEveryTypeInTheFilesOrder) {
  writeText(kPrefPath, allTypesJson());
  LogCapture log;
  const AppPrefList list(kPrefPath, false, 0);
  EXPECT_FALSE(list.hasError());
  EXPECT_TRUE(log.errors().empty());
  EXPECT_EQ(list.getFuncId(), 40978);
  EXPECT_EQ(list.getMajorPrefVersion(), "1");
  EXPECT_EQ(list.getMinorPrefVersion(), "2");
  EXPECT_EQ(namesOf(list), std::vector<std::string>({"boolean", "integer", "string", "enumeration", "binary"}));
  EXPECT_TRUE(list.getAppPrefBoolean("boolean")->getValue());
  EXPECT_EQ(list.getAppPrefInteger("integer")->getValue(), 42);
  EXPECT_EQ(list.getAppPrefString("string")->getValue(), "front door");
  EXPECT_EQ(list.getAppPrefEnumeration("enumeration")->getValue(), 2);
  EXPECT_EQ(list.getAppPrefBinary("binary")->getValue(), "TWFu");
}

TEST(AppPrefListTest, LoadsTheDocumentedExample) {
  expectGood(kDocumentedExample);
}

TEST(AppPrefListTest, ItemIsFoundByItsExactNameAndType) {
  writeText(kPrefPath, allTypesJson());
  const AppPrefList list(kPrefPath, false, 0);
  EXPECT_EQ(list.getAppPref("integer"), *std::next(list.getPrefList().begin()));
  EXPECT_EQ(list.getAppPref("Integer"), nullptr);
  EXPECT_EQ(list.getAppPref("integer "), nullptr);
  EXPECT_EQ(list.getAppPref(""), nullptr);
  EXPECT_EQ(list.getAppPrefBoolean("boolean"), list.getAppPref("boolean"));
  EXPECT_EQ(list.getAppPrefInteger("integer"), list.getAppPref("integer"));
  EXPECT_EQ(list.getAppPrefString("string"), list.getAppPref("string"));
  EXPECT_EQ(list.getAppPrefEnumeration("enumeration"), list.getAppPref("enumeration"));
  EXPECT_EQ(list.getAppPrefBinary("binary"), list.getAppPref("binary"));
  EXPECT_EQ(list.getAppPrefBoolean("integer"), nullptr);
  EXPECT_EQ(list.getAppPrefInteger("boolean"), nullptr);
  EXPECT_EQ(list.getAppPrefString("binary"), nullptr);
  EXPECT_EQ(list.getAppPrefEnumeration("string"), nullptr);
  EXPECT_EQ(list.getAppPrefBinary("string"), nullptr);
  EXPECT_EQ(list.getAppPrefBinary("missing"), nullptr);
}

TEST(AppPrefListTest, MissingFileIsAnError) {
  LogCapture log;
  const AppPrefList list("/tmp/missing.json", false, 7);
  EXPECT_TRUE(list.hasError());
  EXPECT_EQ(list.getFuncId(), 0);
  EXPECT_EQ(list.getMajorPrefVersion(), "");
  EXPECT_EQ(list.getMinorPrefVersion(), "");
  EXPECT_TRUE(list.getPrefList().empty());
  EXPECT_EQ(messages(log), std::vector<std::string>({"ERROR:can not open pref file."}));
}

std::string filledUpTo(size_t size) {
  std::string text = allTypesJson();
  text.resize(size, ' ');
  return text;
}

TEST(AppPrefListTest, FileMayHaveUpTo131072Bytes) {
  expectGood(filledUpTo(131072));
  expectFailure(filledUpTo(131073), {"###ERROR###"});
}

TEST(AppPrefListTest, FileWithAGoodOneIn4GiBIsTooLarge) {
  writeText(kPrefPath, allTypesJson());
  ASSERT_EQ(truncate(kPrefPath, (1LL << 32) + static_cast<long long>(allTypesJson().size())), 0);
  LogCapture log;
  EXPECT_TRUE(AppPrefList(kPrefPath, false, 0).hasError());
  EXPECT_EQ(messages(log), std::vector<std::string>({"###ERROR###"}));
}

TEST(AppPrefListTest, DefaultFileMayHaveUpTo65536Bytes) {
  expectGood(filledUpTo(65536), true);
  expectFailure(filledUpTo(65537), {"###ERROR###"}, true);
  expectGood(filledUpTo(65537));
}

TEST(AppPrefListTest, WithoutMemoryForTheFileLoadingFails) {
  writeText(kPrefPath, allTypesJson());
  LogCapture log;
  const CallFault fault(Call::Malloc, ENOMEM);
  const AppPrefList list(kPrefPath, false, 0);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_TRUE(list.hasError());
  EXPECT_EQ(messages(log), std::vector<std::string>({"###ERROR###"}));
}

TEST(AppPrefListTest, FailedReadIsAnError) {
  writeText(kPrefPath, allTypesJson());
  LogCapture log;
  const CallFault fault(Call::Read, EIO);
  const AppPrefList list(kPrefPath, false, 0);
  EXPECT_TRUE(list.hasError());
  EXPECT_EQ(messages(log), std::vector<std::string>({"###ERROR###"}));
}

TEST(AppPrefListTest, ShortReadIsAnError) {
  constexpr char kPath[] = "/sys/devices/system/cpu/online";  // says it has 4096 bytes
  struct stat status = {};
  if (stat(kPath, &status) != 0 || status.st_size < 100) {
    GTEST_SKIP() << kPath << " is no file that has fewer bytes than it says";
  }
  LogCapture log;
  const AppPrefList list(kPath, false, 0);
  EXPECT_TRUE(list.hasError());
  EXPECT_EQ(messages(log), std::vector<std::string>({"###ERROR###"}));
}

TEST(AppPrefListTest, InterruptedReadGoesOn) {
  writeText(kPrefPath, allTypesJson());
  const CallFault fault(Call::Read, EINTR, 0, 100);
  EXPECT_FALSE(AppPrefList(kPrefPath, false, 0).hasError());
  EXPECT_EQ(fault.hits(), 100);
}

TEST(AppPrefListTest, DirectoryAtThePathIsAnError) {
  ASSERT_EQ(mkdir("/tmp/directory", 0755), 0);
  writeText("/tmp/directory/file", "");
  LogCapture log;
  const AppPrefList list("/tmp/directory", false, 0);
  EXPECT_TRUE(list.hasError());
  EXPECT_EQ(messages(log).size(), 1U);
}

TEST(AppPrefListTest, LoadingLeavesNoDescriptorOpen) {
  writeText(kPrefPath, "{}");
  const int before = dup(0);
  const AppPrefList list(kPrefPath, false, 0);
  const int after = dup(0);
  EXPECT_EQ(after, before + 1);
  close(before);
  close(after);
}

TEST(AppPrefListTest, WhatIsNotJsonIsAnError) {
  const std::string texts[] = {"",
                               " ",
                               "{",
                               "null",
                               "nonsense",
                               std::string("\0", 1),
                               std::string(1000, '\0'),
                               std::string("{\0}", 3),
                               std::string(100000, '['),
                               std::string(33, '[') + std::string(33, ']'),
                               "\xff\xfe{",
                               allTypesJson().substr(0, 300)};
  for (const std::string& text : texts) {
    expectFailure(text, {"Invalid AppPrefFile File Format"});
  }
}

TEST(AppPrefListTest, DeepNestingInAnItemIsAnError) {
  std::string nested = "1";
  for (int i = 0; i < 10000; ++i) {
    nested = R"({"a":)" + nested + "}";
  }
  expectFailure(oneItem(R"("prefName": )" + nested), {"Invalid AppPrefFile File Format"});
}

TEST(AppPrefListTest, WhatFollowsANulByteIsNotRead) {
  expectGood(allTypesJson() + std::string("\0 nonsense", 10));
}

TEST(AppPrefListTest, RootThatIsNoObjectHasNoKeys) {
  for (const char* text : {"[]", "12", "\"text\"", "true", "{}", "1.5"}) {
    expectFailure(text, {"FuncId is NULL", "preferenceVersion is NULL", "AppPrefList is NULL or format error"});
  }
}

std::string withFuncId(const std::string& funcId) {
  return R"({"funcId": )" + funcId + R"(, "preferenceVersion": {"major": "1", "minor": "2"}, "preference": []})";
}

TEST(AppPrefListTest, FuncIdThatIsNoTextIsMissing) {
  for (const char* funcId : {"null", "{}", "[]", "[\"A012\"]", "{\"A012\": 1}"}) {
    expectFailure(withFuncId(funcId), {"FuncId is NULL"});
  }
  expectFailure(R"({"preferenceVersion": {"major": "1", "minor": "2"}, "preference": []})", {"FuncId is NULL"});
}

TEST(AppPrefListTest, FuncIdThatIsNoNumberIsAnError) {
  for (const char* funcId : {R"("")", R"("A012x")", R"("A012 ")", R"("xyz")", R"(" ")", R"("FFFFFFFFFFFFFFFFF")",
                             R"("-FFFFFFFFFFFFFFFFF")", "true", "1.5"}) {
    expectFailure(withFuncId(funcId), {"FuncId is not integer"});
  }
}

int funcIdOf(const std::string& funcId) {
  writeText(kPrefPath, withFuncId(funcId));
  const AppPrefList list(kPrefPath, false, 0);
  EXPECT_FALSE(list.hasError()) << funcId;
  return list.getFuncId();
}

TEST(AppPrefListTest, FuncIdIsHexadecimal) {
  EXPECT_EQ(funcIdOf(R"("0000A012")"), 40978);
  EXPECT_EQ(funcIdOf(R"("a012")"), 40978);
  EXPECT_EQ(funcIdOf(R"("0xA012")"), 40978);
  EXPECT_EQ(funcIdOf(R"("7FFFFFFF")"), 2147483647);
  EXPECT_EQ(funcIdOf("10"), 16);
}

TEST(AppPrefListTest, FuncIdOf32BitsIsReadAsItIsWritten) {
  EXPECT_EQ(funcIdOf(R"("FFFFFFFF")"), -1);
  EXPECT_EQ(funcIdOf(R"("80000000")"), -2147483647 - 1);
  EXPECT_EQ(funcIdOf(R"("-1")"), -1);
  EXPECT_EQ(funcIdOf(R"("-80000000")"), -2147483647 - 1);
}

TEST(AppPrefListTest, FuncIdOfMoreThan32BitsIsNotCut) {
  for (const char* funcId : {R"("100000000")", R"("10000A012")", R"("-80000001")", R"("7FFFFFFFFFFFFFFF")"}) {
    expectFailure(withFuncId(funcId), {"FuncId is not integer"});
  }
}

TEST(AppPrefListTest, FuncIdOfADefaultFileHasToBeTheExpectedOne) {
  const Loaded other = load(allTypesJson(), true, 12);
  EXPECT_TRUE(other.hasError);
  EXPECT_EQ(other.messages, std::vector<std::string>({"FuncId is set bad parameter(40978 != 12)"}));
  EXPECT_FALSE(load(allTypesJson(), true, 40978).hasError);
  EXPECT_FALSE(load(allTypesJson(), false, 12).hasError);
  EXPECT_FALSE(load(withFuncId(R"("FFFFFFFF")"), true, -1).hasError);
  EXPECT_EQ(load(withFuncId(R"("FFFFFFFF")"), true, 1).messages,
            std::vector<std::string>({"FuncId is set bad parameter(-1 != 1)"}));
}

TEST(AppPrefListTest, WrongFuncIdDoesNotKeepTheRestFromBeingRead) {
  writeText(kPrefPath, allTypesJson());
  const AppPrefList list(kPrefPath, true, 12);
  EXPECT_TRUE(list.hasError());
  EXPECT_EQ(list.getFuncId(), 40978);
  EXPECT_EQ(list.getMajorPrefVersion(), "1");
  EXPECT_EQ(list.getPrefList().size(), 5U);
}

std::string withVersion(const std::string& version) {
  return R"({"funcId": "1", "preferenceVersion": )" + version + R"(, "preference": []})";
}

TEST(AppPrefListTest, MissingVersionIsAnError) {
  expectFailure(R"({"funcId": "1", "preference": []})", {"preferenceVersion is NULL"});
  expectFailure(withVersion("null"), {"preferenceVersion is NULL"});
}

TEST(AppPrefListTest, VersionWithoutItsTextsIsAnError) {
  expectFailure(withVersion(R"({"minor": "2"})"), {"majorVersion is NULL"});
  expectFailure(withVersion(R"({"major": "1"})"), {"minorVersion is NULL"});
  for (const char* version : {"{}", "[]", "\"1.2\"", "1.2", R"({"major": "", "minor": ""})",
                              R"({"major": null, "minor": {}})", R"({"major": [], "minor": [1]})"}) {
    expectFailure(withVersion(version), {"majorVersion is NULL", "minorVersion is NULL"});
  }
}

TEST(AppPrefListTest, VersionIsKeptAsText) {
  writeText(kPrefPath, withVersion(R"({"major": "01 b", "minor": 7})"));
  const AppPrefList list(kPrefPath, false, 0);
  EXPECT_FALSE(list.hasError());
  EXPECT_EQ(list.getMajorPrefVersion(), "01 b");
  EXPECT_EQ(list.getMinorPrefVersion(), "7");
}

TEST(AppPrefListTest, MissingArrayOfItemsIsAnError) {
  const std::string start = R"({"funcId": "1", "preferenceVersion": {"major": "1", "minor": "2"})";
  expectFailure(start + "}", {"AppPrefList is NULL or format error"});
  for (const char* preference : {"null", "{}", "\"text\"", "1"}) {
    expectFailure(start + R"(, "preference": )" + preference + "}", {"AppPrefList is NULL or format error"});
  }
  expectGood(start + R"(, "preference": []})");
}

TEST(AppPrefListTest, ElementThatIsNoItemStopsTheLoad) {
  for (const char* element : {"null", "1", "\"text\"", "[]", "{}", "true"}) {
    const Loaded loaded =
        load(fileJson({itemJson("first", "String", "", ""), element, itemJson("third", "String", "", "")}));
    EXPECT_TRUE(loaded.hasError);
    EXPECT_EQ(loaded.messages, std::vector<std::string>({"ERROR:decompose error. 1/3"})) << element;
    EXPECT_EQ(loaded.names, std::vector<std::string>({"first"}));
  }
}

TEST(AppPrefListTest, ItemInErrorStopsTheLoad) {
  const Loaded loaded = load(fileJson({itemJson("first", "String", "", ""), itemJson("second", "Boolean", "", "true"),
                                       itemJson("third", "String", "", "")}));
  EXPECT_TRUE(loaded.hasError);
  EXPECT_EQ(loaded.messages, std::vector<std::string>({"PREFERROR. 1/3"}));
  EXPECT_EQ(loaded.names, std::vector<std::string>({"first"}));
}

TEST(AppPrefListTest, SecondItemOfANameStopsTheLoad) {
  const Loaded loaded = load(fileJson({itemJson("same", "String", "", "1"), itemJson("same", "Integer", "", "2")}));
  EXPECT_TRUE(loaded.hasError);
  EXPECT_EQ(loaded.messages, std::vector<std::string>({"PREFERROR. same prefName 1/2"}));
  EXPECT_EQ(loaded.names, std::vector<std::string>({"same"}));
}

TEST(AppPrefListTest, NamesThatDifferInCaseAreTwoNames) {
  expectGood(fileJson({itemJson("same", "String", "", ""), itemJson("Same", "String", "", "")}));
}

TEST(AppPrefListTest, TooLongNameIsAnItemInError) {
  expectGood(fileJson({itemJson(std::string(1024, 'n'), "String", "", "")}));
  expectFailure(fileJson({itemJson(std::string(1025, 'n'), "String", "", "")}), {"PREFERROR. 0/1"});
}

TEST(AppPrefListTest, FileMayHoldAStringOf1024Bytes) {
  expectGood(fileJson({itemJson("name", "String", "", std::string(1024, 'v'))}));
  expectFailure(fileJson({itemJson("name", "String", "", std::string(1025, 'v'))}), {"PREFERROR. 0/1"});
}

TEST(AppPrefListTest, MissingKeyOfAnItemIsAnError) {
  expectFailure(oneItem(R"("prefType": "String", "defaultValue": "", "value": "")"), kDecomposeError);
  expectFailure(oneItem(R"("prefName": "n", "defaultValue": "", "value": "")"), kDecomposeError);
  expectFailure(oneItem(R"("prefName": "n", "prefType": "String", "value": "")"), kDecomposeError);
  expectFailure(oneItem(R"("prefName": "n", "prefType": "String", "defaultValue": "")"), kDecomposeError);
  expectFailure(oneItem(R"("prefName": "n", "prefType": "Enumeration", "defaultValue": "", "value": "")"),
                kDecomposeError);
}

TEST(AppPrefListTest, WhatIsNoTextIsAMissingKey) {
  for (const char* other : {"null", "{}", "[]", "[\"a\"]", "{\"a\": \"a\"}"}) {
    const std::string value = other;
    expectFailure(oneItem(R"("prefName": )" + value + R"(, "prefType": "String", "defaultValue": "", "value": "")"),
                  kDecomposeError);
    expectFailure(oneItem(R"("prefName": "n", "prefType": )" + value + R"(, "defaultValue": "", "value": "")"),
                  kDecomposeError);
    expectFailure(oneItem(R"("prefName": "n", "prefType": "String", "value": "", "defaultValue": )" + value),
                  kDecomposeError);
    expectFailure(oneItem(R"("prefName": "n", "prefType": "String", "defaultValue": "", "value": )" + value),
                  kDecomposeError);
  }
}

TEST(AppPrefListTest, EmptyNameIsLogged) {
  expectFailure(fileJson({itemJson("", "String", "", "")}), {"prefName = ", "ERROR:decompose error. 0/1"});
  expectFailure(fileJson({itemJson("\\u0000x", "String", "", "")}), {"prefName = ", "ERROR:decompose error. 0/1"});
}

TEST(AppPrefListTest, LinesOfALoadNameTheirModuleAndEndWithoutNewline) {
  writeText(kPrefPath, fileJson({itemJson("", "String", "", "")}));
  LogCapture log;
  const AppPrefList list(kPrefPath, false, 0);
  EXPECT_EQ(log.errors(),
            std::vector<LogLine>({errorLine("AppPrefList.cpp", 0, "decompose", "prefName = "),
                                  errorLine("AppPrefList.cpp", 0, "loadItems", "ERROR:decompose error. 0/1")}));
}

TEST(AppPrefListTest, UnknownTypeIsAnError) {
  for (const char* type : {"Float", "string", ""}) {
    expectFailure(fileJson({itemJson("n", type, "", "")}), kDecomposeError);
  }
}

TEST(AppPrefListTest, NumbersAndBooleansAreReadByTheirStringForm) {
  writeText(kPrefPath, fileJson({R"({"prefName": 12, "prefType": "Integer", "defaultValue": -5, "value": 9})",
                                 R"({"prefName": true, "prefType": "String", "defaultValue": false, "value": 1.50})"}));
  const AppPrefList list(kPrefPath, false, 0);
  EXPECT_FALSE(list.hasError());
  ASSERT_NE(list.getAppPrefInteger("12"), nullptr);
  EXPECT_EQ(list.getAppPrefInteger("12")->getValue(), 9);
  EXPECT_EQ(list.getAppPrefInteger("12")->getDefaultValue(), "-5");
  ASSERT_NE(list.getAppPrefString("true"), nullptr);
  EXPECT_EQ(list.getAppPrefString("true")->getDefaultValue(), "false");
  EXPECT_EQ(list.getAppPrefString("true")->getValue(), "1.50");
}

TEST(AppPrefListTest, JsonBooleanIsNoBooleanPreference) {
  expectFailure(fileJson({R"({"prefName": "b", "prefType": "Boolean", "defaultValue": true, "value": true})"}),
                {"PREFERROR. 0/1"});
}

struct Access {
  const char* more;
  int app;
  int web;
};

TEST(AppPrefListTest, AccessTextsHaveTheirMeaning) {
  const Access accesses[] = {{"", 0, 0},
                             {R"(, "appApiAccess": "Read", "webApiAccess": "None")", 1, 2},
                             {R"(, "appApiAccess": "ReadWrite", "webApiAccess": "Read")", 0, 1},
                             {R"(, "webApiAccess": "ReadWrite")", 0, 0},
                             {R"(, "appApiAccess": null, "webApiAccess": null)", 0, 0},
                             {R"(, "appApiAccess": {}, "webApiAccess": {"Read": "Read"})", 0, 0},
                             {R"(, "appApiAccess": [], "webApiAccess": ["Read"])", 0, 0}};
  for (const Access& access : accesses) {
    writeText(kPrefPath, fileJson({itemJson("n", "String", "", "", access.more)}));
    const AppPrefList list(kPrefPath, false, 0);
    ASSERT_FALSE(list.hasError()) << access.more;
    EXPECT_EQ(list.getAppPref("n")->getAppApiAccess(), access.app) << access.more;
    EXPECT_EQ(list.getAppPref("n")->getWebApiAccess(), access.web) << access.more;
  }
}

TEST(AppPrefListTest, AnyOtherAccessIsAnError) {
  for (const char* more : {R"(, "appApiAccess": "None")", R"(, "appApiAccess": "read")", R"(, "appApiAccess": "")",
                           R"(, "appApiAccess": 1)", R"(, "appApiAccess": false)", R"(, "webApiAccess": "none")",
                           R"(, "webApiAccess": "")", R"(, "webApiAccess": 2)", R"(, "webApiAccess": "Write")"}) {
    expectFailure(fileJson({itemJson("n", "String", "", "", more)}), kDecomposeError);
  }
}

TEST(AppPrefListTest, DefaultFilesItemsTakeTheirDefaultAsValue) {
  const std::string item = R"({"prefName": "n", "prefType": "Integer", "defaultValue": "7"})";
  writeText(kPrefPath, fileJson({item}));
  const AppPrefList list(kPrefPath, true, kFuncId);
  EXPECT_FALSE(list.hasError());
  EXPECT_EQ(list.getAppPrefInteger("n")->getValue(), 7);
  expectFailure(fileJson({item}), kDecomposeError);
}

TEST(AppPrefListTest, DefaultFilesValuesAreNotRead) {
  writeText(kPrefPath, fileJson({itemJson("n", "Integer", "7", "nonsense")}));
  const AppPrefList list(kPrefPath, true, kFuncId);
  EXPECT_FALSE(list.hasError());
  EXPECT_EQ(list.getAppPrefInteger("n")->getValue(), 7);
}

std::string enumerationWith(const std::string& elements) {
  return fileJson({itemJson("e", "Enumeration", "a", "a", R"(, "enumerationList": )" + elements)});
}

TEST(AppPrefListTest, EnumerationListIsAnArrayOfTexts) {
  for (const char* elements : {"null", "{}", "\"a\"", "[\"a\", null]", "[[\"a\"]]", "[\"a\", {}]"}) {
    expectFailure(enumerationWith(elements), kDecomposeError);
  }
  expectFailure(enumerationWith("[]"), {"PREFERROR. 0/1"});
  expectFailure(enumerationWith(R"(["b"])"), {"PREFERROR. 0/1"});
}

TEST(AppPrefListTest, EnumerationListsElementsAreReadByTheirStringForm) {
  writeText(kPrefPath, enumerationWith(R"([1, true, "a", 2.5])"));
  const AppPrefList list(kPrefPath, false, 0);
  ASSERT_FALSE(list.hasError());
  EXPECT_EQ(list.getAppPrefEnumeration("e")->getEnumerationArray(),
            std::vector<std::string>({"1", "true", "a", "2.5"}));
  EXPECT_EQ(list.getAppPrefEnumeration("e")->getValue(), 2);
}

TEST(AppPrefListTest, EnumerationListOfAnotherTypeIsNotRead) {
  expectGood(fileJson({itemJson("s", "String", "", "", R"(, "enumerationList": 12)")}));
}

TEST(AppPrefListTest, FileTakesTheLastOfEqualElementsAndATextTheFirst) {
  writeText(kPrefPath, enumerationWith(R"(["a", "b", "a"])"));
  AppPrefList list(kPrefPath, false, 0);
  EXPECT_EQ(list.getAppPrefEnumeration("e")->getValue(), 2);
  EXPECT_EQ(AppPrefList(list).getAppPrefEnumeration("e")->getValue(), 2);
  EXPECT_EQ(list.restoreValue("e", "a", ""), 0);
  EXPECT_EQ(list.getAppPrefEnumeration("e")->getValue(), 0);
}

TEST(AppPrefListTest, LongBinaryValueIsCut) {
  writeText(kPrefPath, fileJson({itemJson("b", "Binary", "", std::string(50000, 'A'))}));
  const AppPrefList list(kPrefPath, false, 0);
  EXPECT_FALSE(list.hasError());
  EXPECT_EQ(list.getAppPrefBinary("b")->getValue().size(), 43692U);
}

TEST(AppPrefListTest, EscapesOfJsonAreRead) {
  writeText(kPrefPath, fileJson({itemJson("s", "String", "", R"(a\/b \"c\" \\ \u00e9 \n)")}));
  const AppPrefList list(kPrefPath, false, 0);
  EXPECT_EQ(list.getAppPrefString("s")->getValue(), "a/b \"c\" \\ \xc3\xa9 \n");
}

TEST(AppPrefListTest, OfAKeyThatStandsTwiceTheLastCounts) {
  const std::string version = R"("preferenceVersion": {"major": "1", "major": "3", "minor": "2"}, )";
  writeText(kPrefPath, R"({"funcId": "1", "preference": 12, "funcId": "2", )" + version + R"("preference": [)" +
                           itemJson("s", "Integer", "", "x", R"(, "value": "5", "prefName": "t")") + "]}");
  const AppPrefList list(kPrefPath, false, 0);
  EXPECT_FALSE(list.hasError());
  EXPECT_EQ(list.getFuncId(), 2);
  EXPECT_EQ(list.getMajorPrefVersion(), "3");
  ASSERT_EQ(namesOf(list), std::vector<std::string>({"t"}));
  EXPECT_EQ(list.getAppPrefInteger("t")->getValue(), 5);
}

TEST(AppPrefListTest, NulByteEndsItsText) {
  writeText(kPrefPath, fileJson({itemJson("s\\u0000t", "String", "", "a\\u0000b")}));
  const AppPrefList list(kPrefPath, false, 0);
  EXPECT_FALSE(list.hasError());
  ASSERT_EQ(namesOf(list), std::vector<std::string>({"s"}));
  EXPECT_EQ(list.getAppPrefString("s")->getValue(), "a");
}

TEST(AppPrefListTest, DecomposeBuildsAnItemAndLeavesTheJsonAlone) {
  const AppPrefList list("/tmp/missing.json", false, 0);
  json_object* const json = json_tokener_parse(itemJson("n", "Integer", "1", "2").c_str());
  const std::unique_ptr<AppPref> pref(list.decompose(json, false));
  const std::unique_ptr<AppPref> defaultPref(list.decompose(json, true));
  ASSERT_NE(pref, nullptr);
  ASSERT_NE(defaultPref, nullptr);
  EXPECT_EQ(pref->getValueByString(), "2");
  EXPECT_EQ(defaultPref->getValueByString(), "1");
  EXPECT_EQ(json_object_put(json), 1);
}

TEST(AppPrefListTest, DecomposeTakesNoItemForNothing) {
  const AppPrefList list("/tmp/missing.json", false, 0);
  EXPECT_EQ(list.decompose(nullptr, false), nullptr);
}

TEST(AppPrefListTest, DecomposeGivesAnItemInErrorForAValueThatDoesNotFit) {
  const AppPrefList list("/tmp/missing.json", false, 0);
  json_object* const json = json_tokener_parse(itemJson("n", "Integer", "1", "x").c_str());
  const std::unique_ptr<AppPref> pref(list.decompose(json, false));
  ASSERT_NE(pref, nullptr);
  EXPECT_TRUE(pref->hasError());
  json_object_put(json);
}

TEST(AppPrefListTest, CopyIsDeep) {
  writeText(kPrefPath, allTypesJson());
  AppPrefList list(kPrefPath, false, 0);
  const AppPrefList copy(list);
  EXPECT_EQ(list.setInteger("integer", 5), 0);
  EXPECT_EQ(copy.getAppPrefInteger("integer")->getValue(), 42);
  EXPECT_EQ(copy.getFuncId(), kFuncId);
  EXPECT_EQ(copy.getMajorPrefVersion(), "1");
  EXPECT_EQ(copy.getMinorPrefVersion(), "2");
  EXPECT_EQ(namesOf(copy), namesOf(list));
  EXPECT_NE(copy.getAppPref("integer"), list.getAppPref("integer"));
}

TEST(AppPrefListTest, CopyTakesTheErrorOver) {
  const AppPrefList list("/tmp/missing.json", false, 0);
  const AppPrefList copy(list);
  EXPECT_TRUE(copy.hasError());
}

TEST(AppPrefListTest, AssignmentIsDeep) {
  writeText(kPrefPath, allTypesJson());
  AppPrefList list(kPrefPath, false, 0);
  AppPrefList target("/tmp/missing.json", false, 0);
  target = list;
  EXPECT_EQ(list.setInteger("integer", 5), 0);
  EXPECT_FALSE(target.hasError());
  EXPECT_EQ(target.getAppPrefInteger("integer")->getValue(), 42);
  EXPECT_EQ(target.getFuncId(), kFuncId);
  EXPECT_EQ(target.getMajorPrefVersion(), "1");
  EXPECT_EQ(target.getMinorPrefVersion(), "2");
  EXPECT_EQ(namesOf(target), namesOf(list));
}

TEST(AppPrefListTest, AssignmentReleasesWhatWasThere) {
  writeText(kPrefPath, allTypesJson());
  AppPrefList list(kPrefPath, false, 0);
  list = AppPrefList("/tmp/missing.json", false, 0);
  EXPECT_TRUE(list.hasError());
  EXPECT_TRUE(list.getPrefList().empty());
  EXPECT_EQ(list.getFuncId(), 0);
}

TEST(AppPrefListTest, AssignmentToItselfKeepsTheItems) {
  writeText(kPrefPath, allTypesJson());
  AppPrefList list(kPrefPath, false, 0);
  const AppPrefList& same = list;
  list = same;
  EXPECT_EQ(list.getPrefList().size(), 5U);
  EXPECT_EQ(list.getAppPrefInteger("integer")->getValue(), 42);
}

// A file that was cut anywhere is in error; one with a changed byte is in error or has all items. Neither crashes.
TEST(AppPrefListTest, DamagedFilesAreReadSafely) {
  const std::string text = allTypesJson();
  LogCapture log;
  for (size_t i = 0; i < text.size(); ++i) {
    writeText(kPrefPath, text.substr(0, i));
    EXPECT_TRUE(AppPrefList(kPrefPath, false, 0).hasError()) << i;
    for (const char byte : {'\0', '"', '{', '\xff', '9'}) {
      std::string damaged = text;
      damaged[i] = byte;
      writeText(kPrefPath, damaged);
      const AppPrefList list(kPrefPath, false, 0);
      EXPECT_TRUE(list.hasError() || list.getPrefList().size() == 5) << i << " " << static_cast<int>(byte);
    }
  }
}

}  // namespace
