#include <gtest/gtest.h>

#include <memory>

#include "AppPrefBinary.h"
#include "support/LogCapture.h"

namespace {

using Kelp::ApiAccessType_ReadWrite;
using Kelp::AppPref;
using Kelp::AppPrefBinary;
using KelpTest::LogCapture;
using KelpTest::LogLine;

AppPrefBinary makeBinary(const std::string& value, const std::string& defaultValue = "") {
  return AppPrefBinary("block", defaultValue, ApiAccessType_ReadWrite, ApiAccessType_ReadWrite, value);
}

TEST(AppPrefBinaryTest, ValueIsCutTo43692Characters) {
  LogCapture log;
  const std::string longest(43692, 'A');
  EXPECT_EQ(makeBinary(longest).getValue(), longest);
  EXPECT_EQ(makeBinary(longest + "B").getValue(), longest);
  const AppPrefBinary pref = makeBinary(longest + std::string(6308, 'B'));
  EXPECT_EQ(pref.getPrefType(), Kelp::AppPrefType_Binary);
  EXPECT_EQ(pref.getValueByString(), longest);
  EXPECT_FALSE(pref.hasError());
  EXPECT_TRUE(log.lines().empty());
}

TEST(AppPrefBinaryTest, TooLongNameIsAnErrorAndTheValueIsCutAllTheSame) {
  LogCapture log;
  const AppPrefBinary pref(std::string(1025, 'n'), "", ApiAccessType_ReadWrite, ApiAccessType_ReadWrite,
                           std::string(50000, 'A'));
  EXPECT_TRUE(pref.hasError());
  EXPECT_EQ(pref.getValue().size(), 43692U);
  EXPECT_EQ(log.lines(), std::vector<LogLine>({KelpTest::errorLine("AppPref.cpp", 0, "setError", "SET PREF ERROR.")}));
}

TEST(AppPrefBinaryTest, ConstructionDoesNotCheckForBase64) {
  const AppPrefBinary pref = makeBinary("!?");
  EXPECT_FALSE(pref.hasError());
  EXPECT_EQ(pref.getValueByString(), "!?");
}

TEST(AppPrefBinaryTest, SetValueTakesAnyLength) {
  AppPrefBinary pref = makeBinary("");
  const std::string text(50000, 'A');
  pref.setValue(text);
  EXPECT_EQ(pref.getValue(), text);
  EXPECT_FALSE(pref.hasError());
}

// Lengths of all kinds, in and beyond the room that a std::string has inside itself. A text whose last group has one
// character does not fit; see below.
TEST(AppPrefBinaryTest, Base64IsTakenAsItCame) {
  const std::string texts[] = {"",
                               "TWFu",
                               "TWE=",
                               "TQ==",
                               "TWE",
                               "TQ",
                               "TQ==TWFu",
                               "TW-_",
                               "TW Fu123",
                               "TW#u",
                               std::string(15, 'A'),
                               std::string(16, 'A'),
                               std::string(18, 'A'),
                               std::string(43691, 'A'),
                               std::string(50000, 'A')};
  for (const std::string& text : texts) {
    AppPrefBinary pref = makeBinary("T0xE");
    const std::string before = text;
    EXPECT_EQ(pref.setValueByString(text), 0) << text;
    EXPECT_EQ(pref.getValueByString(), before);
    EXPECT_EQ(text, before);
    EXPECT_FALSE(pref.hasError());
  }
}

TEST(AppPrefBinaryTest, TextThatIsNotBase64IsRefusedAndChangesNothing) {
  const std::string texts[] = {"!", "TWF!", "TWFuTWFu.", "TWFu\xc3\xbc", std::string(49999, 'A') + "*"};
  for (const std::string& text : texts) {
    AppPrefBinary pref = makeBinary("T0xE");
    LogCapture log;
    EXPECT_EQ(pref.setValueByString(text), 1) << text;
    EXPECT_EQ(pref.getValueByString(), "T0xE");
    EXPECT_FALSE(pref.hasError());
    EXPECT_TRUE(log.errors().empty());
  }
}

TEST(AppPrefBinaryTest, TextThatDecodesToMoreThanItsRoomIsStoredAndReportedAllTheSame) {
  for (const size_t length : {1U, 5U, 17U}) {
    AppPrefBinary pref = makeBinary("T0xE");
    const std::string text(length, 'A');
    EXPECT_EQ(pref.setValueByString(text), 1) << length;
    EXPECT_EQ(pref.getValueByString(), text);
  }
}

TEST(AppPrefBinaryTest, DefaultBecomesTheValueWhateverItsLength) {
  const std::string defaultValue(50000, 'D');
  AppPrefBinary pref = makeBinary("T0xE", defaultValue);
  pref.setDefaultValue();
  EXPECT_EQ(pref.getValueByString(), defaultValue);
  EXPECT_FALSE(pref.hasError());
}

TEST(AppPrefBinaryTest, CloneKeepsATextThatIsLongerThanConstructionAllows) {
  AppPrefBinary pref = makeBinary("");
  pref.setValue(std::string(50000, 'A'));
  const std::unique_ptr<AppPref> clone(pref.clone());
  ASSERT_NE(dynamic_cast<AppPrefBinary*>(clone.get()), nullptr);
  EXPECT_EQ(clone->getValueByString(), pref.getValueByString());
}

}  // namespace
