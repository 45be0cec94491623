#include <gtest/gtest.h>

#include "AppPrefString.h"
#include "support/LogCapture.h"

namespace {

using Kelp::ApiAccessType_ReadWrite;
using Kelp::AppPrefString;
using KelpTest::LogCapture;

AppPrefString makeString(const std::string& value, const std::string& defaultValue = "") {
  return AppPrefString("text", defaultValue, ApiAccessType_ReadWrite, ApiAccessType_ReadWrite, value);
}

TEST(AppPrefStringTest, FileMayHold1024Bytes) {
  EXPECT_EQ(makeString("").getPrefType(), Kelp::AppPrefType_String);
  EXPECT_FALSE(makeString(std::string(1023, 'a')).hasError());
  EXPECT_FALSE(makeString(std::string(1024, 'a')).hasError());
  EXPECT_TRUE(makeString(std::string(1025, 'a')).hasError());
}

TEST(AppPrefStringTest, TextOf1023BytesIsTaken) {
  AppPrefString pref = makeString("old");
  const std::string text(1023, 'a');
  EXPECT_EQ(pref.setValueByString(text), 0);
  EXPECT_EQ(pref.getValueByString(), text);
}

TEST(AppPrefStringTest, TextOf1024BytesIsRefusedAndChangesNothing) {
  AppPrefString pref = makeString("old");
  LogCapture log;
  EXPECT_EQ(pref.setValueByString(std::string(1024, 'a')), 1);
  EXPECT_EQ(pref.getValueByString(), "old");
  EXPECT_FALSE(pref.hasError());
  EXPECT_TRUE(log.lines().empty());
}

TEST(AppPrefStringTest, EmptyTextIsTaken) {
  AppPrefString pref = makeString("old");
  EXPECT_EQ(pref.setValueByString(""), 0);
  EXPECT_EQ(pref.getValue(), "");
  EXPECT_FALSE(pref.hasError());
}

TEST(AppPrefStringTest, SetValueTakes1024BytesAndMoreIsAnError) {
  AppPrefString pref = makeString("old");
  pref.setValue(std::string(1024, 'a'));
  EXPECT_EQ(pref.getValue(), std::string(1024, 'a'));
  EXPECT_FALSE(pref.hasError());
  pref.setValue(std::string(1025, 'b'));
  EXPECT_EQ(pref.getValue(), std::string(1025, 'b'));
  EXPECT_TRUE(pref.hasError());
}

TEST(AppPrefStringTest, DefaultBecomesTheValue) {
  AppPrefString pref = makeString("value", "default");
  pref.setDefaultValue();
  EXPECT_EQ(pref.getValueByString(), "default");
}

TEST(AppPrefStringTest, TooLongDefaultIsAnErrorWhenItBecomesTheValue) {
  AppPrefString pref = makeString("value", std::string(1025, 'd'));
  EXPECT_FALSE(pref.hasError());
  pref.setDefaultValue();
  EXPECT_TRUE(pref.hasError());
}

}  // namespace
