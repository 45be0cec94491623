#include <gtest/gtest.h>

#include <memory>

#include "AppPrefEnumeration.h"
#include "support/LogCapture.h"

namespace {

using Kelp::ApiAccessType_ReadWrite;
using Kelp::AppPref;
using Kelp::AppPrefEnumeration;
using KelpTest::LogCapture;
using KelpTest::LogLine;

const LogLine kSetError = KelpTest::errorLine("AppPref.cpp", 0, "setError", "SET PREF ERROR.");
const std::string kTooLong(1025, 'x');

AppPrefEnumeration makeEnumeration(const std::vector<std::string>& elements, const std::string& value,
                                   const std::string& defaultValue = "") {
  return AppPrefEnumeration("mode", elements, defaultValue, ApiAccessType_ReadWrite, ApiAccessType_ReadWrite, value);
}

TEST(AppPrefEnumerationTest, ValueIsTheIndexOfItsElement) {
  LogCapture log;
  const AppPrefEnumeration pref = makeEnumeration({"a", "b", "c"}, "b");
  EXPECT_EQ(pref.getPrefType(), Kelp::AppPrefType_Enumeration);
  EXPECT_EQ(pref.getValue(), 1);
  EXPECT_EQ(pref.getValueByString(), "b");
  EXPECT_EQ(pref.getEnumerationArray(), std::vector<std::string>({"a", "b", "c"}));
  EXPECT_TRUE(log.lines().empty());
}

TEST(AppPrefEnumerationTest, LastEqualElementWinsAtConstructionAndTheFirstAfterwards) {
  AppPrefEnumeration pref = makeEnumeration({"a", "b", "a"}, "a");
  EXPECT_EQ(pref.getValue(), 2);
  EXPECT_EQ(pref.getValueIndex("a"), 0);
  EXPECT_EQ(pref.setValueByString("a"), 0);
  EXPECT_EQ(pref.getValue(), 0);
}

TEST(AppPrefEnumerationTest, CloneKeepsTheIndexThatWas) {
  const AppPrefEnumeration pref = makeEnumeration({"a", "b", "a"}, "a");
  const std::unique_ptr<AppPref> clone(pref.clone());
  const auto* const copy = dynamic_cast<AppPrefEnumeration*>(clone.get());
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->getValue(), 2);
  EXPECT_EQ(copy->getEnumerationArray(), pref.getEnumerationArray());
  EXPECT_EQ(copy->makeJsonString(""), pref.makeJsonString(""));

  AppPrefEnumeration other = pref;
  other.setValue(0);
  const std::unique_ptr<AppPref> otherClone(other.clone());
  EXPECT_EQ(static_cast<AppPrefEnumeration*>(otherClone.get())->getValue(), 0);
}

TEST(AppPrefEnumerationTest, ValueOutsideTheListIsAnError) {
  LogCapture log;
  const AppPrefEnumeration pref = makeEnumeration({"a", "b"}, "A");
  EXPECT_TRUE(pref.hasError());
  EXPECT_EQ(pref.getValue(), -1);
  EXPECT_EQ(log.lines(), std::vector<LogLine>({kSetError}));
}

TEST(AppPrefEnumerationTest, EmptyListIsAlwaysAnError) {
  LogCapture log;
  AppPrefEnumeration pref = makeEnumeration({}, "");
  EXPECT_TRUE(pref.hasError());
  EXPECT_EQ(pref.getValue(), -1);
  EXPECT_EQ(pref.getValueIndex(""), -1);
  EXPECT_EQ(pref.setValueByString(""), 1);
  EXPECT_EQ(log.lines(), std::vector<LogLine>({kSetError}));
}

TEST(AppPrefEnumerationTest, EmptyElementCanBeTheValue) {
  const AppPrefEnumeration pref = makeEnumeration({"a", ""}, "");
  EXPECT_EQ(pref.getValue(), 1);
  EXPECT_FALSE(pref.hasError());
}

TEST(AppPrefEnumerationTest, ElementOf1024BytesIsGood) {
  const std::string longest(1024, 'x');
  const AppPrefEnumeration pref = makeEnumeration({"a", longest}, longest);
  EXPECT_EQ(pref.getValue(), 1);
  EXPECT_FALSE(pref.hasError());
}

TEST(AppPrefEnumerationTest, TooLongElementEndsTheSearchWithOneErrorBehindAMatch) {
  LogCapture log;
  const AppPrefEnumeration pref = makeEnumeration({"a", kTooLong, "a"}, "a");
  EXPECT_TRUE(pref.hasError());
  EXPECT_EQ(pref.getValue(), 0);
  EXPECT_EQ(log.lines(), std::vector<LogLine>({kSetError}));
}

TEST(AppPrefEnumerationTest, TooLongElementBeforeAnyMatchIsLoggedTwice) {
  LogCapture log;
  const AppPrefEnumeration pref = makeEnumeration({"b", kTooLong, "a"}, "a");
  EXPECT_TRUE(pref.hasError());
  EXPECT_EQ(pref.getValue(), -1);
  EXPECT_EQ(log.lines(), std::vector<LogLine>({kSetError, kSetError}));
}

TEST(AppPrefEnumerationTest, SetValueSetsIndexAndText) {
  AppPrefEnumeration pref = makeEnumeration({"a", "b", "c"}, "a");
  pref.setValue(2);
  EXPECT_EQ(pref.getValue(), 2);
  EXPECT_EQ(pref.getValueByString(), "c");
}

TEST(AppPrefEnumerationTest, TooLongElementIsSetWithoutALine) {
  AppPrefEnumeration pref = makeEnumeration({"a", kTooLong}, "a");
  LogCapture log;
  pref.setValue(1);
  EXPECT_EQ(pref.getValue(), 1);
  EXPECT_NE(pref.makeJsonString("").find("\"value\": \"" + kTooLong + "\"\n"), std::string::npos);
  EXPECT_TRUE(log.lines().empty());
}

TEST(AppPrefEnumerationTest, IndexOutsideTheListIsAnErrorAndChangesNothingElse) {
  for (const int index : {-1, 3, 2147483647, -2147483647 - 1}) {
    AppPrefEnumeration pref = makeEnumeration({"a", "b", "c"}, "b");
    LogCapture log;
    pref.setValue(index);
    EXPECT_TRUE(pref.hasError()) << index;
    EXPECT_EQ(pref.getValue(), 1);
    EXPECT_NE(pref.makeJsonString("").find("\"value\": \"b\"\n"), std::string::npos);
    EXPECT_EQ(log.lines(), std::vector<LogLine>({kSetError}));
  }
}

TEST(AppPrefEnumerationTest, TextOutsideTheListIsRefusedAndChangesNothing) {
  AppPrefEnumeration pref = makeEnumeration({"a", "b"}, "b");
  LogCapture log;
  EXPECT_EQ(pref.setValueByString("c"), 1);
  EXPECT_EQ(pref.getValue(), 1);
  EXPECT_EQ(pref.getValueByString(), "b");
  EXPECT_FALSE(pref.hasError());
  EXPECT_TRUE(log.lines().empty());
}

TEST(AppPrefEnumerationTest, DefaultIsTheFirstElementEqualToIt) {
  AppPrefEnumeration pref = makeEnumeration({"a", "b", "b"}, "a", "b");
  pref.setDefaultValue();
  EXPECT_EQ(pref.getValue(), 1);
  EXPECT_EQ(pref.getValueByString(), "b");
}

TEST(AppPrefEnumerationTest, DefaultOutsideTheListIsAnErrorAndLosesTheIndex) {
  AppPrefEnumeration pref = makeEnumeration({"a", "b"}, "b", "z");
  LogCapture log;
  pref.setDefaultValue();
  EXPECT_EQ(pref.getValue(), -1);
  EXPECT_TRUE(pref.hasError());
  EXPECT_NE(pref.makeJsonString("").find("\"value\": \"b\"\n"), std::string::npos);
  EXPECT_EQ(log.lines(), std::vector<LogLine>({kSetError}));
}

}  // namespace
