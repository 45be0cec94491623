#include "fuzz/support/PrefChecks.h"

#include <memory>

#include "AppPrefBinary.h"
#include "AppPrefBoolean.h"
#include "AppPrefEnumeration.h"
#include "AppPrefInteger.h"
#include "AppPrefString.h"
#include "fuzz/support/Check.h"

using Kelp::AppPref;
using Kelp::AppPrefBinary;
using Kelp::AppPrefBoolean;
using Kelp::AppPrefEnumeration;
using Kelp::AppPrefInteger;
using Kelp::AppPrefList;
using Kelp::AppPrefString;

namespace KelpFuzz {

namespace {

void checkTypedValue(const AppPref& pref, const PrefItem& expected) {
  if (const auto* const boolean = dynamic_cast<const AppPrefBoolean*>(&pref)) {
    FUZZ_CHECK_EQ(boolean->getValue(), expected.flag);
  } else if (const auto* const integer = dynamic_cast<const AppPrefInteger*>(&pref)) {
    FUZZ_CHECK_EQ(integer->getValue(), expected.number);
  } else if (const auto* const string = dynamic_cast<const AppPrefString*>(&pref)) {
    FUZZ_CHECK_EQ(string->getValue(), expected.value);
  } else if (const auto* const binary = dynamic_cast<const AppPrefBinary*>(&pref)) {
    FUZZ_CHECK_EQ(binary->getValue(), expected.value);
  } else if (const auto* const enumeration = dynamic_cast<const AppPrefEnumeration*>(&pref)) {
    FUZZ_CHECK_EQ(enumeration->getValue(), expected.index);
    FUZZ_CHECK(enumeration->getEnumerationArray() == expected.elements);
  } else {
    FUZZ_CHECK(false);
  }
}

void checkFields(const AppPref& pref, const PrefItem& expected) {
  FUZZ_CHECK_EQ(pref.getPrefName(), expected.name);
  FUZZ_CHECK_EQ(AppPref::getPrefTypeString(pref.getPrefType()), expected.type);
  FUZZ_CHECK_EQ(pref.getDefaultValue(), expected.defaultValue);
  FUZZ_CHECK_EQ(static_cast<int>(pref.getAppApiAccess()), expected.appAccess);
  FUZZ_CHECK_EQ(static_cast<int>(pref.getWebApiAccess()), expected.webAccess);
  checkValue(pref, expected);
}

}  // namespace

void checkValue(const AppPref& pref, const PrefItem& expected) {
  FUZZ_CHECK_EQ(pref.getValueByString(), expected.shownValue());
  FUZZ_CHECK_EQ(pref.hasError(), expected.hasError);
  checkTypedValue(pref, expected);
}

void checkPref(AppPref& pref, const PrefItem& expected) {
  checkFields(pref, expected);
  FUZZ_CHECK_EQ(pref.makeJsonString("\t"), prefBlock(expected, "\t"));
  const std::unique_ptr<AppPref> clone(pref.clone());
  checkFields(*clone, expected);
}

void checkPrefs(const AppPrefList& list, const PrefContents& expected) {
  FUZZ_CHECK_EQ(list.hasError(), expected.hasError);
  FUZZ_CHECK_EQ(list.getFuncId(), expected.funcId);
  FUZZ_CHECK_EQ(list.getMajorPrefVersion(), expected.majorVersion);
  FUZZ_CHECK_EQ(list.getMinorPrefVersion(), expected.minorVersion);
  FUZZ_CHECK_EQ(list.getPrefList().size(), expected.items.size());
  auto item = expected.items.begin();
  for (AppPref* const pref : list.getPrefList()) {
    checkFields(*pref, *item);
    FUZZ_CHECK(list.getAppPref(item->name) == pref);
    FUZZ_CHECK((list.getAppPrefBoolean(item->name) != nullptr) == (item->type == "Boolean"));
    FUZZ_CHECK((list.getAppPrefInteger(item->name) != nullptr) == (item->type == "Integer"));
    FUZZ_CHECK((list.getAppPrefString(item->name) != nullptr) == (item->type == "String"));
    FUZZ_CHECK((list.getAppPrefEnumeration(item->name) != nullptr) == (item->type == "Enumeration"));
    FUZZ_CHECK((list.getAppPrefBinary(item->name) != nullptr) == (item->type == "Binary"));
    ++item;
  }
  FUZZ_CHECK(list.getAppPref("") == nullptr);
}

std::string canonicalText(const AppPrefList& list) {
  std::string text;
  FUZZ_CHECK(list.getAppPrefJsonStringForCRC(text));
  return text;
}

}  // namespace KelpFuzz
