#include <gtest/gtest.h>

#include <memory>

#include "AppPrefBinary.h"
#include "AppPrefBoolean.h"
#include "AppPrefEnumeration.h"
#include "AppPrefInteger.h"
#include "AppPrefString.h"
#include "support/LogCapture.h"
#include "support/VirtualSlot.h"

namespace {

using Kelp::ApiAccessType_None;
using Kelp::ApiAccessType_Read;
using Kelp::ApiAccessType_ReadWrite;
using Kelp::AppPref;
using Kelp::AppPrefBinary;
using Kelp::AppPrefBoolean;
using Kelp::AppPrefEnumeration;
using Kelp::AppPrefInteger;
using Kelp::AppPrefString;
using Kelp::AppPrefType;
using KelpTest::errorLine;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::slotOf;

const std::string kLongest(1024, 'x');
const std::string kTooLong(1025, 'x');
const LogLine kSetError = errorLine("AppPref.cpp", 0, "setError", "SET PREF ERROR.");

// Makes what derived classes use reachable.
class OpenPref : public AppPrefString {
 public:
  explicit OpenPref(const std::string& value)
      : AppPrefString("open", "", ApiAccessType_ReadWrite, ApiAccessType_ReadWrite, value) {}
  using AppPref::setValueString;
};

AppPrefString makeString(const std::string& name, const std::string& value) {
  return AppPrefString(name, "the default", ApiAccessType_Read, ApiAccessType_None, value);
}

TEST(AppPrefTest, TypesAndAccessKindsHaveTheirNumbers) {
  EXPECT_EQ(Kelp::AppPrefType_Boolean, 0);
  EXPECT_EQ(Kelp::AppPrefType_Integer, 1);
  EXPECT_EQ(Kelp::AppPrefType_String, 2);
  EXPECT_EQ(Kelp::AppPrefType_Enumeration, 3);
  EXPECT_EQ(Kelp::AppPrefType_Binary, 4);
  EXPECT_EQ(ApiAccessType_ReadWrite, 0);
  EXPECT_EQ(ApiAccessType_Read, 1);
  EXPECT_EQ(ApiAccessType_None, 2);
  EXPECT_EQ(sizeof(AppPrefType), 4U);
  EXPECT_EQ(sizeof(Kelp::ApiAccessType), 4U);
}

TEST(AppPrefTest, EveryTypeHasItsText) {
  EXPECT_EQ(AppPref::getPrefTypeString(Kelp::AppPrefType_Boolean), "Boolean");
  EXPECT_EQ(AppPref::getPrefTypeString(Kelp::AppPrefType_Integer), "Integer");
  EXPECT_EQ(AppPref::getPrefTypeString(Kelp::AppPrefType_String), "String");
  EXPECT_EQ(AppPref::getPrefTypeString(Kelp::AppPrefType_Enumeration), "Enumeration");
  EXPECT_EQ(AppPref::getPrefTypeString(Kelp::AppPrefType_Binary), "Binary");
}

TEST(AppPrefDeathTest, TypeWithoutTextEndsTheProcess) {
  for (const int type : {-1, 5}) {
    EXPECT_DEATH(AppPref::getPrefTypeString(static_cast<AppPrefType>(type)),
                 "AppPref\\.cpp:[0-9]+: static std::string Kelp::AppPref::getPrefTypeString\\(Kelp::AppPrefType\\): "
                 "Assertion `false' failed");
  }
}

TEST(AppPrefTest, StringIsValidUpTo1024Bytes) {
  EXPECT_TRUE(AppPref::isValidString(""));
  EXPECT_TRUE(AppPref::isValidString(kLongest));
  EXPECT_FALSE(AppPref::isValidString(kTooLong));
}

TEST(AppPrefTest, ItemKeepsWhatItWasBuiltFrom) {
  LogCapture log;
  const AppPrefString pref = makeString("label", "front door");
  EXPECT_EQ(pref.getPrefName(), "label");
  EXPECT_EQ(pref.getPrefType(), Kelp::AppPrefType_String);
  EXPECT_EQ(pref.getDefaultValue(), "the default");
  EXPECT_EQ(pref.getAppApiAccess(), ApiAccessType_Read);
  EXPECT_EQ(pref.getWebApiAccess(), ApiAccessType_None);
  EXPECT_EQ(pref.getValueByString(), "front door");
  EXPECT_FALSE(pref.hasError());
  EXPECT_TRUE(log.lines().empty());
}

TEST(AppPrefTest, NameAndValueOf1024BytesAreGood) {
  EXPECT_FALSE(makeString(kLongest, kLongest).hasError());
}

TEST(AppPrefTest, TooLongNameIsAnErrorAndIsKept) {
  LogCapture log;
  const AppPrefString pref = makeString(kTooLong, "value");
  EXPECT_TRUE(pref.hasError());
  EXPECT_EQ(pref.getPrefName(), kTooLong);
  EXPECT_EQ(log.lines(), std::vector<LogLine>({kSetError}));
}

TEST(AppPrefTest, TooLongValueIsAnErrorAndReadsEmpty) {
  LogCapture log;
  const AppPrefString pref = makeString("name", kTooLong);
  EXPECT_TRUE(pref.hasError());
  EXPECT_EQ(pref.getValueByString(), "");
  EXPECT_EQ(pref.getValue(), kTooLong);
  EXPECT_EQ(log.lines(), std::vector<LogLine>({kSetError}));
}

TEST(AppPrefTest, TooLongNameAndValueAreOneError) {
  LogCapture log;
  EXPECT_TRUE(makeString(kTooLong, kTooLong).hasError());
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST(AppPrefTest, DefaultIsNotChecked) {
  LogCapture log;
  const AppPrefString pref("name", kTooLong, ApiAccessType_ReadWrite, ApiAccessType_ReadWrite, "value");
  EXPECT_FALSE(pref.hasError());
  EXPECT_EQ(pref.getDefaultValue(), kTooLong);
  EXPECT_TRUE(log.lines().empty());
}

TEST(AppPrefTest, ErrorStaysForGood) {
  LogCapture log;
  AppPrefString pref = makeString("name", "value");
  pref.setError();
  EXPECT_EQ(log.lines(), std::vector<LogLine>({kSetError}));
  EXPECT_EQ(pref.setValueByString("other"), Kelp::CommonReturnCode_Ok);
  EXPECT_TRUE(pref.hasError());
  EXPECT_EQ(pref.getValueByString(), "");
  EXPECT_EQ(pref.getValue(), "other");
}

TEST(AppPrefTest, StoredTextThatIsTooLongIsStoredInError) {
  OpenPref pref("value");
  pref.setValueString(kLongest);
  EXPECT_FALSE(pref.hasError());
  LogCapture log;
  pref.setValueString(kTooLong);
  EXPECT_TRUE(pref.hasError());
  EXPECT_EQ(pref.getValue(), kTooLong);
  EXPECT_EQ(log.lines(), std::vector<LogLine>({kSetError}));
}

TEST(AppPrefTest, JsonBlockOfAString) {
  const AppPrefString pref("label", "none", ApiAccessType_ReadWrite, ApiAccessType_Read, "front door");
  EXPECT_EQ(pref.makeJsonString("\t\t"),
            "\t\t{\n"
            "\t\t\t\"prefName\": \"label\",\n"
            "\t\t\t\"prefType\": \"String\",\n"
            "\t\t\t\"appApiAccess\": \"ReadWrite\",\n"
            "\t\t\t\"webApiAccess\": \"Read\",\n"
            "\t\t\t\"defaultValue\": \"none\",\n"
            "\t\t\t\"value\": \"front door\"\n"
            "\t\t}");
}

TEST(AppPrefTest, JsonBlockOfABooleanWithoutIndent) {
  const AppPrefBoolean pref("on", "FALSE", ApiAccessType_Read, ApiAccessType_None, "TRUE");
  EXPECT_EQ(pref.makeJsonString(""),
            "{\n"
            "\t\"prefName\": \"on\",\n"
            "\t\"prefType\": \"Boolean\",\n"
            "\t\"appApiAccess\": \"Read\",\n"
            "\t\"webApiAccess\": \"None\",\n"
            "\t\"defaultValue\": \"FALSE\",\n"
            "\t\"value\": \"TRUE\"\n"
            "}");
}

TEST(AppPrefTest, JsonBlockOfAnEnumerationListsItsElements) {
  const AppPrefEnumeration pref("mode", {"auto", "by hand", "off"}, "auto", ApiAccessType_ReadWrite,
                                ApiAccessType_ReadWrite, "off");
  EXPECT_EQ(pref.makeJsonString(" "),
            " {\n"
            " \t\"prefName\": \"mode\",\n"
            " \t\"prefType\": \"Enumeration\",\n"
            " \t\"enumerationList\": [\"auto\", \"by hand\", \"off\"],\n"
            " \t\"appApiAccess\": \"ReadWrite\",\n"
            " \t\"webApiAccess\": \"ReadWrite\",\n"
            " \t\"defaultValue\": \"auto\",\n"
            " \t\"value\": \"off\"\n"
            " }");
}

TEST(AppPrefTest, JsonBlockOfAnEmptyEnumeration) {
  const AppPrefEnumeration pref("mode", {}, "", ApiAccessType_ReadWrite, ApiAccessType_ReadWrite, "");
  EXPECT_NE(pref.makeJsonString("").find("\n\t\"enumerationList\": [],\n"), std::string::npos);
}

TEST(AppPrefTest, JsonBlockHasNoTextForAnApplicationWithoutAccess) {
  const AppPrefString pref("a", "b", ApiAccessType_None, ApiAccessType_None, "c");
  EXPECT_EQ(pref.makeJsonString(""),
            "{\n"
            "\t\"prefName\": \"a\",\n"
            "\t\"prefType\": \"String\",\n"
            "\t\"appApiAccess\": \"ReadWrite\",\n"
            "\t\"webApiAccess\": \"None\",\n"
            "\t\"defaultValue\": \"b\",\n"
            "\t\"value\": \"c\"\n"
            "}");
}

TEST(AppPrefTest, JsonBlockEscapesNothingAndShowsTheValueInErrorToo) {
  AppPrefString pref("q\"", "back\\slash", ApiAccessType_ReadWrite, ApiAccessType_ReadWrite, "line\nfeed");
  pref.setError();
  EXPECT_EQ(pref.makeJsonString(""),
            "{\n"
            "\t\"prefName\": \"q\"\",\n"
            "\t\"prefType\": \"String\",\n"
            "\t\"appApiAccess\": \"ReadWrite\",\n"
            "\t\"webApiAccess\": \"ReadWrite\",\n"
            "\t\"defaultValue\": \"back\\slash\",\n"
            "\t\"value\": \"line\nfeed\"\n"
            "}");
}

TEST(AppPrefTest, CloneCopiesEveryFieldWithoutALine) {
  AppPrefString pref("label", "none", ApiAccessType_Read, ApiAccessType_None, "front door");
  pref.setError();
  LogCapture log;
  const std::unique_ptr<AppPref> clone(pref.clone());
  ASSERT_NE(dynamic_cast<AppPrefString*>(clone.get()), nullptr);
  EXPECT_EQ(clone->makeJsonString(""), pref.makeJsonString(""));
  EXPECT_TRUE(clone->hasError());
  EXPECT_TRUE(log.lines().empty());
}

TEST(AppPrefTest, CloneIsAnItemOfItsOwn) {
  AppPrefString pref = makeString("name", "old");
  const std::unique_ptr<AppPref> clone(pref.clone());
  pref.setValue("new");
  pref.setError();
  EXPECT_EQ(clone->getValueByString(), "old");
  EXPECT_FALSE(clone->hasError());
}

TEST(AppPrefTest, VirtualOperationsHaveTheirSlots) {
  EXPECT_EQ(slotOf(&AppPref::setDefaultValue), 2U);
  EXPECT_EQ(slotOf(&AppPref::setValueByString), 3U);
  EXPECT_EQ(slotOf(&AppPref::makeJsonString), 4U);
  EXPECT_EQ(slotOf(&AppPref::clone), 5U);
}

// Preferences that a program's static constructors build find the class's texts in place.
const AppPrefBoolean s_earlyPref("early", "TRUE", ApiAccessType_ReadWrite, ApiAccessType_ReadWrite, "TRUE");

TEST(AppPrefTest, ItemBuiltByAStaticConstructorIsGood) {
  EXPECT_FALSE(s_earlyPref.hasError());
  EXPECT_TRUE(s_earlyPref.getValue());
}

}  // namespace
