#include <gtest/gtest.h>

#include <memory>

#include "AppPrefBinary.h"
#include "AppPrefBoolean.h"
#include "AppPrefEnumeration.h"
#include "AppPrefFactory.h"
#include "AppPrefInteger.h"
#include "AppPrefString.h"

namespace {

using Kelp::ApiAccessType_None;
using Kelp::ApiAccessType_Read;
using Kelp::AppPref;
using Kelp::AppPrefFactory;

std::unique_ptr<AppPref> make(const std::string& typeText, const std::string& value) {
  return std::unique_ptr<AppPref>(AppPrefFactory::createAppPref("name", typeText, {"a", "b"}, "default",
                                                                ApiAccessType_Read, ApiAccessType_None, value));
}

template <typename Pref>
void expectMade(const std::string& typeText, const std::string& value) {
  const std::unique_ptr<AppPref> pref = make(typeText, value);
  ASSERT_NE(dynamic_cast<Pref*>(pref.get()), nullptr) << typeText;
  EXPECT_EQ(AppPref::getPrefTypeString(pref->getPrefType()), typeText);
  EXPECT_EQ(pref->getPrefName(), "name");
  EXPECT_EQ(pref->getDefaultValue(), "default");
  EXPECT_EQ(pref->getAppApiAccess(), ApiAccessType_Read);
  EXPECT_EQ(pref->getWebApiAccess(), ApiAccessType_None);
  EXPECT_EQ(pref->getValueByString(), value);
}

TEST(AppPrefFactoryTest, EveryTypeTextMakesItsClass) {
  expectMade<Kelp::AppPrefBoolean>("Boolean", "TRUE");
  expectMade<Kelp::AppPrefInteger>("Integer", "12");
  expectMade<Kelp::AppPrefString>("String", "text");
  expectMade<Kelp::AppPrefEnumeration>("Enumeration", "b");
  expectMade<Kelp::AppPrefBinary>("Binary", "TWFu");
}

TEST(AppPrefFactoryTest, EnumerationTakesTheList) {
  const std::unique_ptr<AppPref> pref = make("Enumeration", "b");
  EXPECT_EQ(static_cast<Kelp::AppPrefEnumeration*>(pref.get())->getEnumerationArray(),
            std::vector<std::string>({"a", "b"}));
}

TEST(AppPrefFactoryTest, UnknownTypeTextMakesNothing) {
  for (const char* typeText : {"", "boolean", "BOOLEAN", "Boolean ", "Float", "Bool"}) {
    EXPECT_EQ(make(typeText, "TRUE"), nullptr) << typeText;
  }
}

TEST(AppPrefFactoryTest, BadValueMakesAnItemInError) {
  const std::unique_ptr<AppPref> pref = make("Boolean", "true");
  ASSERT_NE(pref, nullptr);
  EXPECT_TRUE(pref->hasError());
}

}  // namespace
