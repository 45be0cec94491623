#include <errno.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <ostream>

#include "AppPrefInteger.h"
#include "support/LogCapture.h"

namespace {

using Kelp::ApiAccessType_ReadWrite;
using Kelp::AppPref;
using Kelp::AppPrefInteger;
using KelpTest::LogCapture;

constexpr long long kLargest = std::numeric_limits<long long>::max();
constexpr long long kSmallest = std::numeric_limits<long long>::min();
const KelpTest::LogLine kSetError = KelpTest::errorLine("AppPref.cpp", 0, "setError", "SET PREF ERROR.");

AppPrefInteger makeInteger(const std::string& value, const std::string& defaultValue = "0") {
  return AppPrefInteger("number", defaultValue, ApiAccessType_ReadWrite, ApiAccessType_ReadWrite, value);
}

struct Reading {
  const char* text;
  long long number;
  const char* decimal;
};

// Names the case by its text; an address would differ from run to run.
void PrintTo(const Reading& reading, std::ostream* out) {
  *out << '"' << reading.text << '"';
}

class AppPrefIntegerGoodTest : public testing::TestWithParam<Reading> {};

TEST_P(AppPrefIntegerGoodTest, IsReadAndKeptInItsDecimalForm) {
  LogCapture log;
  const AppPrefInteger pref = makeInteger(GetParam().text);
  EXPECT_EQ(pref.getPrefType(), Kelp::AppPrefType_Integer);
  EXPECT_FALSE(pref.hasError());
  EXPECT_EQ(pref.getValue(), GetParam().number);
  EXPECT_EQ(pref.getValueByString(), GetParam().decimal);
  EXPECT_TRUE(log.lines().empty());
}

TEST_P(AppPrefIntegerGoodTest, IsTakenAsTextAndKeptInItsDecimalForm) {
  AppPrefInteger pref = makeInteger("99");
  EXPECT_EQ(pref.setValueByString(GetParam().text), 0);
  EXPECT_EQ(pref.getValue(), GetParam().number);
  EXPECT_EQ(pref.getValueByString(), GetParam().decimal);
}

INSTANTIATE_TEST_SUITE_P(Numbers, AppPrefIntegerGoodTest,
                         testing::Values(Reading{"0", 0, "0"}, Reading{"7", 7, "7"}, Reading{"007", 7, "7"},
                                         Reading{"-0012", -12, "-12"}, Reading{"+5", 5, "5"}, Reading{" 5", 5, "5"},
                                         Reading{"9223372036854775807", kLargest, "9223372036854775807"},
                                         Reading{"-9223372036854775808", kSmallest, "-9223372036854775808"}));

class AppPrefIntegerBadTest : public testing::TestWithParam<Reading> {};

TEST_P(AppPrefIntegerBadTest, IsAnErrorAndHoldsWhatCouldBeRead) {
  LogCapture log;
  const AppPrefInteger pref = makeInteger(GetParam().text);
  EXPECT_TRUE(pref.hasError());
  EXPECT_EQ(pref.getValue(), GetParam().number);
  EXPECT_EQ(pref.getValueByString(), "");
  EXPECT_NE(pref.makeJsonString("").find(std::string("\"value\": \"") + GetParam().decimal + "\"\n"),
            std::string::npos);
  EXPECT_EQ(log.lines(), std::vector<KelpTest::LogLine>({kSetError}));
}

TEST_P(AppPrefIntegerBadTest, IsRefusedAsTextAndChangesNothing) {
  AppPrefInteger pref = makeInteger("99");
  LogCapture log;
  EXPECT_EQ(pref.setValueByString(GetParam().text), 1);
  EXPECT_EQ(pref.getValue(), 99);
  EXPECT_EQ(pref.getValueByString(), "99");
  EXPECT_FALSE(pref.hasError());
  EXPECT_TRUE(log.lines().empty());
}

TEST_P(AppPrefIntegerBadTest, IsNoIntegerButTheOutputIsWritten) {
  long long number = 4711;
  EXPECT_EQ(AppPrefInteger::strtoInt(GetParam().text, number), 1);
  EXPECT_EQ(number, GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(Texts, AppPrefIntegerBadTest,
                         testing::Values(Reading{"", 0, "0"}, Reading{"12abc", 12, "12"}, Reading{"abc", 0, "0"},
                                         Reading{"5 ", 5, "5"}, Reading{" ", 0, "0"}, Reading{"0x10", 0, "0"},
                                         Reading{"9223372036854775808", kLargest, "9223372036854775807"},
                                         Reading{"-9223372036854775809", kSmallest, "-9223372036854775808"}));

TEST(AppPrefIntegerTest, ErrorOfAnEarlierCallDoesNotCount) {
  errno = ERANGE;
  long long number = 0;
  EXPECT_EQ(AppPrefInteger::strtoInt("12", number), 0);
  EXPECT_EQ(number, 12);
}

TEST(AppPrefIntegerTest, ByteNulInsideIsNoPartOfANumber) {
  long long number = 0;
  EXPECT_EQ(AppPrefInteger::strtoInt(std::string("12\0", 3), number), 1);
  EXPECT_EQ(number, 12);
}

TEST(AppPrefIntegerTest, TooLongTextOfAGoodNumberIsAnError) {
  const AppPrefInteger pref = makeInteger(std::string(1024, '0') + "5");
  EXPECT_TRUE(pref.hasError());
  EXPECT_EQ(pref.getValue(), 5);
}

TEST(AppPrefIntegerTest, SetValueSetsNumberAndText) {
  AppPrefInteger pref = makeInteger("1");
  pref.setValue(kSmallest);
  EXPECT_EQ(pref.getValue(), kSmallest);
  EXPECT_EQ(pref.getValueByString(), "-9223372036854775808");
}

TEST(AppPrefIntegerTest, DefaultBecomesTheValueInItsDecimalForm) {
  AppPrefInteger pref = makeInteger("5", "0042");
  pref.setDefaultValue();
  EXPECT_EQ(pref.getValue(), 42);
  EXPECT_EQ(pref.getValueByString(), "42");
}

TEST(AppPrefIntegerTest, DefaultThatIsNoNumberGivesWhatCouldBeReadWithoutError) {
  AppPrefInteger pref = makeInteger("5", "12abc");
  LogCapture log;
  pref.setDefaultValue();
  EXPECT_EQ(pref.getValue(), 12);
  EXPECT_EQ(pref.getValueByString(), "12");
  EXPECT_TRUE(log.lines().empty());
}

TEST(AppPrefIntegerTest, TooLongDefaultIsAnErrorWhenItBecomesTheValue) {
  AppPrefInteger pref = makeInteger("5", std::string(1024, '0') + "7");
  EXPECT_FALSE(pref.hasError());
  pref.setDefaultValue();
  EXPECT_TRUE(pref.hasError());
  EXPECT_EQ(pref.getValue(), 7);
}

TEST(AppPrefIntegerTest, CloneKeepsTheTypedValue) {
  const AppPrefInteger pref = makeInteger("-77");
  const std::unique_ptr<AppPref> clone(pref.clone());
  const auto* const copy = dynamic_cast<AppPrefInteger*>(clone.get());
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->getValue(), -77);
  EXPECT_EQ(copy->makeJsonString(""), pref.makeJsonString(""));
}

}  // namespace
