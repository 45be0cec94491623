#include <gtest/gtest.h>

#include <memory>

#include "AppPrefBoolean.h"
#include "support/LogCapture.h"

namespace {

using Kelp::ApiAccessType_ReadWrite;
using Kelp::AppPref;
using Kelp::AppPrefBoolean;
using KelpTest::LogCapture;

AppPrefBoolean makeBoolean(const std::string& value, const std::string& defaultValue = "FALSE") {
  return AppPrefBoolean("flag", defaultValue, ApiAccessType_ReadWrite, ApiAccessType_ReadWrite, value);
}

TEST(AppPrefBooleanTest, ClassTextsAreUpperCase) {
  EXPECT_EQ(AppPrefBoolean::s_strTrue, "TRUE");
  EXPECT_EQ(AppPrefBoolean::s_strFalse, "FALSE");
}

TEST(AppPrefBooleanTest, FileHoldsUpperCaseTexts) {
  EXPECT_EQ(makeBoolean("TRUE").getPrefType(), Kelp::AppPrefType_Boolean);
  EXPECT_TRUE(makeBoolean("TRUE").getValue());
  EXPECT_FALSE(makeBoolean("TRUE").hasError());
  EXPECT_EQ(makeBoolean("TRUE").getValueByString(), "TRUE");
  EXPECT_FALSE(makeBoolean("FALSE").getValue());
  EXPECT_FALSE(makeBoolean("FALSE").hasError());
  EXPECT_EQ(makeBoolean("FALSE").getValueByString(), "FALSE");
}

class AppPrefBooleanFileTest : public testing::TestWithParam<const char*> {};

TEST_P(AppPrefBooleanFileTest, AnyOtherTextIsAnErrorAndMeansFalse) {
  LogCapture log;
  const AppPrefBoolean pref = makeBoolean(GetParam());
  EXPECT_TRUE(pref.hasError());
  EXPECT_FALSE(pref.getValue());
  EXPECT_EQ(pref.getValueByString(), "");
  EXPECT_EQ(log.lines().size(), 1U);
  EXPECT_TRUE(log.contains(KelpTest::errorLine("AppPref.cpp", 0, "setError", "SET PREF ERROR.")));
}

INSTANTIATE_TEST_SUITE_P(OtherTexts, AppPrefBooleanFileTest,
                         testing::Values("true", "false", "True", "", "1", "TRUE ", "TRUEX", "TRU"));

TEST(AppPrefBooleanTest, LowerCaseByTextIsStoredInUpperCaseEvenInError) {
  AppPrefBoolean pref = makeBoolean("true");
  EXPECT_EQ(pref.setValueByString("true"), 0);
  EXPECT_TRUE(pref.getValue());
  EXPECT_TRUE(pref.hasError());
  EXPECT_NE(pref.makeJsonString("").find("\"value\": \"TRUE\""), std::string::npos);
}

TEST(AppPrefBooleanTest, TakesFourTexts) {
  AppPrefBoolean pref = makeBoolean("FALSE");
  EXPECT_EQ(pref.setValueByString("true"), 0);
  EXPECT_EQ(pref.getValueByString(), "TRUE");
  EXPECT_EQ(pref.setValueByString("false"), 0);
  EXPECT_EQ(pref.getValueByString(), "FALSE");
  EXPECT_EQ(pref.setValueByString("TRUE"), 0);
  EXPECT_TRUE(pref.getValue());
  EXPECT_EQ(pref.setValueByString("FALSE"), 0);
  EXPECT_FALSE(pref.getValue());
}

TEST(AppPrefBooleanTest, RefusedTextChangesNothing) {
  AppPrefBoolean pref = makeBoolean("TRUE");
  LogCapture log;
  for (const char* text : {"True", "FALSE ", "", "0", "fALSE"}) {
    EXPECT_EQ(pref.setValueByString(text), 1) << text;
  }
  EXPECT_EQ(pref.getValueByString(), "TRUE");
  EXPECT_TRUE(pref.getValue());
  EXPECT_FALSE(pref.hasError());
  EXPECT_TRUE(log.lines().empty());
}

TEST(AppPrefBooleanTest, TextThatIsNoBooleanLeavesTheOutputAlone) {
  bool flag = true;
  EXPECT_EQ(AppPrefBoolean::strtoBoolean("no", flag), 1);
  EXPECT_TRUE(flag);
  EXPECT_EQ(AppPrefBoolean::strtoBoolean("false", flag), 0);
  EXPECT_FALSE(flag);
  EXPECT_EQ(AppPrefBoolean::strtoBoolean("yes", flag), 1);
  EXPECT_FALSE(flag);
  EXPECT_EQ(AppPrefBoolean::strtoBoolean("TRUE", flag), 0);
  EXPECT_TRUE(flag);
}

TEST(AppPrefBooleanTest, SetValueSetsTextAndFlag) {
  AppPrefBoolean pref = makeBoolean("FALSE");
  pref.setValue(true);
  EXPECT_TRUE(pref.getValue());
  EXPECT_EQ(pref.getValueByString(), "TRUE");
  pref.setValue(false);
  EXPECT_FALSE(pref.getValue());
  EXPECT_EQ(pref.getValueByString(), "FALSE");
}

TEST(AppPrefBooleanTest, DefaultIsTrueForTwoTextsAndNeverAnError) {
  for (const char* defaultValue : {"true", "TRUE"}) {
    AppPrefBoolean pref = makeBoolean("FALSE", defaultValue);
    pref.setDefaultValue();
    EXPECT_EQ(pref.getValueByString(), "TRUE") << defaultValue;
    EXPECT_TRUE(pref.getValue());
  }
  for (const char* defaultValue : {"false", "FALSE", "True", "", "nonsense"}) {
    AppPrefBoolean pref = makeBoolean("TRUE", defaultValue);
    pref.setDefaultValue();
    EXPECT_EQ(pref.getValueByString(), "FALSE") << defaultValue;
    EXPECT_FALSE(pref.getValue());
    EXPECT_FALSE(pref.hasError());
  }
}

TEST(AppPrefBooleanTest, CloneKeepsTheTypedValue) {
  const AppPrefBoolean pref = makeBoolean("TRUE");
  const std::unique_ptr<AppPref> clone(pref.clone());
  const auto* const copy = dynamic_cast<AppPrefBoolean*>(clone.get());
  ASSERT_NE(copy, nullptr);
  EXPECT_TRUE(copy->getValue());
  EXPECT_EQ(copy->makeJsonString(""), pref.makeJsonString(""));
}

}  // namespace
