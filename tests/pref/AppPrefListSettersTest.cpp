#include <gtest/gtest.h>

#include "AppPrefBinary.h"
#include "AppPrefBoolean.h"
#include "AppPrefEnumeration.h"
#include "AppPrefInteger.h"
#include "AppPrefList.h"
#include "AppPrefString.h"
#include "pref/PrefFiles.h"
#include "support/LogCapture.h"
#include "support/TextFile.h"

namespace {

using Kelp::AppPrefList;
using KelpTest::allTypesJson;
using KelpTest::errorLine;
using KelpTest::kPrefPath;
using KelpTest::LogCapture;
using KelpTest::LogLine;

AppPrefList loadList(const std::string& more = "") {
  KelpTest::writeText(kPrefPath, allTypesJson(more));
  return AppPrefList(kPrefPath, false, 0);
}

const char* const kReadOnlyForApps = R"(, "appApiAccess": "Read")";

std::string valueOf(const AppPrefList& list, const std::string& name) {
  return list.getAppPref(name)->getValueByString();
}

std::vector<LogLine> markedLine(const std::string& function) {
  return {errorLine("AppPrefList.cpp", 0, function, "###ERROR###")};
}

TEST(AppPrefListSettersTest, TypedSettersSetTheValue) {
  AppPrefList list = loadList(R"(, "webApiAccess": "None")");
  LogCapture log;
  EXPECT_EQ(list.setBoolean("boolean", false), 0);
  EXPECT_EQ(list.setInteger("integer", -9000000000), 0);
  EXPECT_EQ(list.setString("string", "back door"), 0);
  EXPECT_EQ(list.setEnumeration("enumeration", 1), 0);
  EXPECT_EQ(list.setBinary("binary", "AAAA"), 0);
  EXPECT_EQ(valueOf(list, "boolean"), "FALSE");
  EXPECT_EQ(valueOf(list, "integer"), "-9000000000");
  EXPECT_EQ(valueOf(list, "string"), "back door");
  EXPECT_EQ(valueOf(list, "enumeration"), "manual");
  EXPECT_EQ(valueOf(list, "binary"), "AAAA");
  EXPECT_TRUE(log.errors().empty());
}

TEST(AppPrefListSettersTest, TypedSettersTakeTheValueThatIsThere) {
  AppPrefList list = loadList();
  EXPECT_EQ(list.setBoolean("boolean", true), 0);
  EXPECT_EQ(list.setInteger("integer", 42), 0);
  EXPECT_EQ(list.setEnumeration("enumeration", 2), 0);
}

TEST(AppPrefListSettersTest, TypedSettersKnowNoOtherNameOrType) {
  AppPrefList list = loadList(kReadOnlyForApps);
  LogCapture log;
  for (const char* name : {"missing", "Boolean", ""}) {
    EXPECT_EQ(list.setBoolean(name, true), 1);
    EXPECT_EQ(list.setInteger(name, 1), 1);
    EXPECT_EQ(list.setString(name, "x"), 1);
    EXPECT_EQ(list.setEnumeration(name, 1), 1);
    EXPECT_EQ(list.setBinary(name, "x"), 1);
  }
  EXPECT_EQ(list.setBoolean("integer", true), 1);
  EXPECT_EQ(list.setInteger("string", 1), 1);
  EXPECT_EQ(list.setString("binary", "x"), 1);
  EXPECT_EQ(list.setEnumeration("boolean", 1), 1);
  EXPECT_EQ(list.setBinary("string", "x"), 1);
  EXPECT_EQ(list.setString("missing", std::string(1024, 'x')), 1);
  EXPECT_EQ(list.setEnumeration("missing", -1), 1);
  EXPECT_TRUE(log.errors().empty());
}

TEST(AppPrefListSettersTest, ApplicationMayNotSetWhatItMayOnlyRead) {
  AppPrefList list = loadList(kReadOnlyForApps);
  LogCapture log;
  EXPECT_EQ(list.setBoolean("boolean", false), 10);
  EXPECT_EQ(log.errors(), markedLine("setBoolean"));
  log.clear();
  EXPECT_EQ(list.setInteger("integer", 1), 10);
  EXPECT_EQ(log.errors(), markedLine("setInteger"));
  log.clear();
  EXPECT_EQ(list.setString("string", "x"), 10);
  EXPECT_EQ(log.errors(), markedLine("setString"));
  log.clear();
  EXPECT_EQ(list.setEnumeration("enumeration", 1), 10);
  EXPECT_EQ(log.errors(), markedLine("setEnumeration"));
  log.clear();
  EXPECT_EQ(list.setBinary("binary", "AAAA"), 10);
  EXPECT_EQ(log.errors(), markedLine("setBinary"));
  EXPECT_EQ(valueOf(list, "boolean"), "TRUE");
  EXPECT_EQ(valueOf(list, "integer"), "42");
  EXPECT_EQ(valueOf(list, "string"), "front door");
  EXPECT_EQ(valueOf(list, "enumeration"), "off");
  EXPECT_EQ(valueOf(list, "binary"), "TWFu");
}

TEST(AppPrefListSettersTest, AccessComesBeforeTheLimits) {
  AppPrefList list = loadList(kReadOnlyForApps);
  EXPECT_EQ(list.setString("string", std::string(1024, 'x')), 10);
  EXPECT_EQ(list.setEnumeration("enumeration", 3), 10);
}

TEST(AppPrefListSettersTest, StringTakes1023Bytes) {
  AppPrefList list = loadList();
  LogCapture log;
  const std::string longest(1023, 'x');
  EXPECT_EQ(list.setString("string", longest), 0);
  EXPECT_EQ(list.setString("string", std::string(1024, 'y')), 16);
  EXPECT_EQ(valueOf(list, "string"), longest);
  EXPECT_TRUE(log.errors().empty());
}

TEST(AppPrefListSettersTest, EnumerationTakesAnIndexOfItsList) {
  AppPrefList list = loadList();
  LogCapture log;
  for (const int index : {-1, 3, 2147483647, -2147483647 - 1}) {
    EXPECT_EQ(list.setEnumeration("enumeration", index), 16) << index;
  }
  EXPECT_EQ(valueOf(list, "enumeration"), "off");
  EXPECT_TRUE(log.errors().empty());
  EXPECT_EQ(list.setEnumeration("enumeration", 0), 0);
  EXPECT_EQ(valueOf(list, "enumeration"), "auto");
}

TEST(AppPrefListSettersTest, EnumerationInErrorIsReported) {
  AppPrefList list = loadList();
  list.getAppPref("enumeration")->setError();
  LogCapture log;
  EXPECT_EQ(list.setEnumeration("enumeration", 1), 16);
  EXPECT_EQ(list.getAppPrefEnumeration("enumeration")->getValue(), 1);
  EXPECT_EQ(log.errors(),
            std::vector<LogLine>({errorLine("AppPrefList.cpp", 0, "setEnumeration", "hasError SET PREF ERROR.")}));
}

TEST(AppPrefListSettersTest, BinaryTakesAnyTextByTheApplication) {
  AppPrefList list = loadList();
  const std::string text(50000, '!');
  EXPECT_EQ(list.setBinary("binary", text), 0);
  EXPECT_EQ(valueOf(list, "binary"), text);
}

TEST(AppPrefListSettersTest, WebApiSetsByText) {
  AppPrefList list = loadList(kReadOnlyForApps);
  LogCapture log;
  EXPECT_EQ(list.setValue("boolean", "false", "Boolean"), 0);
  EXPECT_EQ(list.setValue("integer", "007", "Integer"), 0);
  EXPECT_EQ(list.setValue("string", "", "String"), 0);
  EXPECT_EQ(list.setValue("enumeration", "manual", "Enumeration"), 0);
  EXPECT_EQ(list.setValue("binary", "TQ==", "Binary"), 0);
  EXPECT_EQ(valueOf(list, "boolean"), "FALSE");
  EXPECT_EQ(valueOf(list, "integer"), "7");
  EXPECT_EQ(valueOf(list, "string"), "");
  EXPECT_EQ(valueOf(list, "enumeration"), "manual");
  EXPECT_EQ(valueOf(list, "binary"), "TQ==");
  EXPECT_TRUE(log.errors().empty());
}

TEST(AppPrefListSettersTest, WebApiKnowsNoOtherNameOrType) {
  AppPrefList list = loadList(R"(, "webApiAccess": "Read")");
  LogCapture log;
  EXPECT_EQ(list.setValue("missing", "1", "Integer"), 1);
  EXPECT_EQ(list.setValue("integer", "1", "String"), 1);
  EXPECT_EQ(list.setValue("integer", "1", "integer"), 1);
  EXPECT_EQ(list.setValue("integer", "1", ""), 1);
  EXPECT_TRUE(log.errors().empty());
}

TEST(AppPrefListSettersTest, WebApiMaySetOnlyWhatItMayReadAndWrite) {
  for (const char* more : {R"(, "webApiAccess": "Read")", R"(, "webApiAccess": "None")"}) {
    AppPrefList list = loadList(more);
    LogCapture log;
    EXPECT_EQ(list.setValue("integer", "1", "Integer"), 11);
    EXPECT_EQ(valueOf(list, "integer"), "42");
    EXPECT_EQ(log.errors(), markedLine("setValue"));
  }
}

TEST(AppPrefListSettersTest, AccessComesBeforeTheSameValue) {
  AppPrefList list = loadList(R"(, "webApiAccess": "Read")");
  EXPECT_EQ(list.setValue("integer", "42", "Integer"), 11);
}

TEST(AppPrefListSettersTest, WebApiMayNotSetTheValueThatIsThere) {
  AppPrefList list = loadList();
  LogCapture log;
  EXPECT_EQ(list.setValue("boolean", "TRUE", "Boolean"), 22);
  EXPECT_EQ(list.setValue("integer", "42", "Integer"), 22);
  EXPECT_EQ(list.setValue("string", "front door", "String"), 22);
  EXPECT_EQ(list.setValue("enumeration", "off", "Enumeration"), 22);
  EXPECT_EQ(list.setValue("binary", "TWFu", "Binary"), 22);
  EXPECT_EQ(valueOf(list, "integer"), "42");
  EXPECT_TRUE(log.errors().empty());
}

TEST(AppPrefListSettersTest, SameValueIsToldByItsText) {
  AppPrefList list = loadList();
  EXPECT_EQ(list.setValue("boolean", "true", "Boolean"), 0);
  EXPECT_EQ(list.setValue("integer", "042", "Integer"), 0);
  EXPECT_EQ(valueOf(list, "integer"), "42");
}

TEST(AppPrefListSettersTest, ItemInErrorHoldsTheEmptyText) {
  AppPrefList list = loadList();
  list.getAppPref("string")->setError();
  EXPECT_EQ(list.setValue("string", "", "String"), 22);
  EXPECT_EQ(list.setValue("string", "front door", "String"), 0);
}

TEST(AppPrefListSettersTest, TextThatDoesNotFitIsRefusedAndChangesNothing) {
  AppPrefList list = loadList();
  EXPECT_EQ(list.setValue("boolean", "yes", "Boolean"), 1);
  EXPECT_EQ(list.setValue("integer", "12abc", "Integer"), 1);
  EXPECT_EQ(list.setValue("string", std::string(1024, 'x'), "String"), 1);
  EXPECT_EQ(list.setValue("enumeration", "other", "Enumeration"), 1);
  EXPECT_EQ(list.setValue("binary", "!", "Binary"), 1);
  EXPECT_EQ(valueOf(list, "boolean"), "TRUE");
  EXPECT_EQ(valueOf(list, "integer"), "42");
  EXPECT_EQ(valueOf(list, "string"), "front door");
  EXPECT_EQ(valueOf(list, "enumeration"), "off");
  EXPECT_EQ(valueOf(list, "binary"), "TWFu");
}

TEST(AppPrefListSettersTest, RestoreLooksAtNeitherAccessNorTypeNorTheSameValue) {
  AppPrefList list = loadList(R"(, "appApiAccess": "Read", "webApiAccess": "None")");
  LogCapture log;
  EXPECT_EQ(list.restoreValue("integer", "5", "String"), 0);
  EXPECT_EQ(list.restoreValue("integer", "5", ""), 0);
  EXPECT_EQ(valueOf(list, "integer"), "5");
  EXPECT_EQ(list.restoreValue("missing", "5", "Integer"), 1);
  EXPECT_EQ(list.restoreValue("integer", "x", "Integer"), 1);
  EXPECT_EQ(valueOf(list, "integer"), "5");
  EXPECT_TRUE(log.errors().empty());
}

TEST(AppPrefListSettersTest, SettersLeaveTheFileAlone) {
  AppPrefList list = loadList();
  const std::string before = KelpTest::readText(kPrefPath);
  EXPECT_EQ(list.setValue("integer", "5", "Integer"), 0);
  EXPECT_EQ(list.setInteger("integer", 6), 0);
  EXPECT_EQ(list.restoreValue("integer", "7", ""), 0);
  EXPECT_EQ(KelpTest::readText(kPrefPath), before);
}

}  // namespace
