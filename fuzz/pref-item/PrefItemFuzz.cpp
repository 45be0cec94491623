// The input is a preference item's texts, one behind the other (Input::text()), and what is done to it: a byte for the
// operation and the texts or numbers that it takes. The same is done to the items of a list by their names.
#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AppPrefBinary.h"
#include "AppPrefBoolean.h"
#include "AppPrefEnumeration.h"
#include "AppPrefFactory.h"
#include "AppPrefInteger.h"
#include "AppPrefList.h"
#include "AppPrefString.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/Input.h"
#include "fuzz/support/Platform.h"
#include "fuzz/support/PrefChecks.h"
#include "fuzz/support/PrefReference.h"
#include "tests/pref/PrefFiles.h"

namespace {

using Kelp::ApiAccessType;
using Kelp::AppPref;
using Kelp::AppPrefList;
using KelpFuzz::Input;
using KelpFuzz::PrefContents;
using KelpFuzz::PrefItem;

// What AppPrefList's setters return.
constexpr int kOk = 0;
constexpr int kInvalidParameter = 1;
constexpr int kInvalidProtocol = 10;
constexpr int kPermissionDenied = 11;
constexpr int kNotEnoughMemory = 16;
constexpr int kSameValue = 22;
constexpr size_t kLongestByApplication = 1023;

constexpr int kMostChanges = 24;  // more would be slow and nothing new

const char* const kTypes[] = {"Boolean", "Integer", "String", "Enumeration", "Binary"};

// Mostly a type that there is.
std::string takeType(Input& input) {
  const uint8_t number = input.byte();
  return number % 8 < 5 ? kTypes[number % 8] : input.text();
}

std::vector<std::string> takeTexts(Input& input) {
  std::vector<std::string> texts(input.byte() % 8);
  for (std::string& text : texts) {
    text = input.text();
  }
  return texts;
}

// --- An item of its own

void setTypedValue(AppPref& pref, PrefItem& item, Input& input) {
  if (auto* const boolean = dynamic_cast<Kelp::AppPrefBoolean*>(&pref)) {
    const bool flag = input.byte() % 2 != 0;
    boolean->setValue(flag);
    KelpFuzz::setPrefFlag(item, flag);
  } else if (auto* const integer = dynamic_cast<Kelp::AppPrefInteger*>(&pref)) {
    const auto number = static_cast<long long>(input.doubleWord());
    integer->setValue(number);
    KelpFuzz::setPrefNumber(item, number);
  } else if (auto* const enumeration = dynamic_cast<Kelp::AppPrefEnumeration*>(&pref)) {
    const auto index = static_cast<int8_t>(input.byte());
    enumeration->setValue(index);
    KelpFuzz::setPrefIndex(item, index);
  } else {
    const std::string text = input.text();
    if (auto* const string = dynamic_cast<Kelp::AppPrefString*>(&pref)) {
      string->setValue(text);
    } else {
      dynamic_cast<Kelp::AppPrefBinary&>(pref).setValue(text);
    }
    KelpFuzz::setPrefText(item, text);
  }
}

void change(AppPref& pref, PrefItem& item, Input& input) {
  switch (input.byte() % 4) {
    case 0:
      pref.setDefaultValue();
      KelpFuzz::setPrefDefault(item);
      break;
    case 1:
      setTypedValue(pref, item, input);
      break;
    default: {
      const std::string text = input.text();
      FUZZ_CHECK_EQ(static_cast<int>(pref.setValueByString(text)), KelpFuzz::setPrefByText(item, text));
      break;
    }
  }
}

void checkItem(Input& input) {
  const std::string type = takeType(input);
  const uint8_t access = input.byte();
  const auto appAccess = static_cast<ApiAccessType>(access % 3);
  const auto webAccess = static_cast<ApiAccessType>(access / 3 % 3);
  const std::string name = input.text();
  const std::string defaultValue = input.text();
  const std::string value = input.text();
  const std::vector<std::string> elements = takeTexts(input);
  const std::unique_ptr<AppPref> pref(
      Kelp::AppPrefFactory::createAppPref(name, type, elements, defaultValue, appAccess, webAccess, value));
  std::optional<PrefItem> item = KelpFuzz::makePref(name, type, elements, defaultValue, appAccess, webAccess, value);
  FUZZ_CHECK_EQ(pref != nullptr, item.has_value());
  if (!item) {
    return;
  }
  KelpFuzz::checkPref(*pref, *item);
  for (int changes = 0; !input.isEmpty() && changes < kMostChanges; ++changes) {
    change(*pref, *item, input);
    KelpFuzz::checkValue(*pref, *item);
  }
  KelpFuzz::checkPref(*pref, *item);
}

// --- The items of a list

// Mostly one of the list's.
std::string takeName(Input& input) {
  static const char* const kNames[] = {"boolean", "integer", "string", "enumeration", "binary", "odd"};
  const uint8_t number = input.byte();
  return number % 8 < 6 ? kNames[number % 8] : input.text();
}

PrefItem* itemNamed(PrefContents& contents, const std::string& name) {
  for (PrefItem& item : contents.items) {
    if (item.name == name) {
      return &item;
    }
  }
  return nullptr;
}

// What every setter of the application comes to before it looks at the value.
int resultBeforeTheValue(const PrefItem* item, const std::string& type) {
  if (item == nullptr || item->type != type) {
    return kInvalidParameter;
  }
  return item->appAccess == 0 ? kOk : kInvalidProtocol;
}

void setByWeb(AppPrefList& list, PrefContents& contents, const std::string& name, Input& input) {
  const std::string type = takeType(input);
  const std::string text = input.text();
  PrefItem* const item = itemNamed(contents, name);
  int expected = kInvalidParameter;
  if (item != nullptr && item->type == type) {
    expected = item->webAccess != 0         ? kPermissionDenied
               : item->shownValue() == text ? kSameValue
                                            : KelpFuzz::setPrefByText(*item, text);
  }
  FUZZ_CHECK_EQ(static_cast<int>(list.setValue(name, text, type)), expected);
}

void setText(AppPrefList& list, PrefItem* item, const std::string& name, const std::string& text, bool isBinary) {
  int expected = resultBeforeTheValue(item, isBinary ? "Binary" : "String");
  if (expected == kOk && !isBinary && text.size() > kLongestByApplication) {
    expected = kNotEnoughMemory;
  }
  FUZZ_CHECK_EQ(static_cast<int>(isBinary ? list.setBinary(name, text) : list.setString(name, text)), expected);
  if (expected == kOk) {
    KelpFuzz::setPrefText(*item, text);
  }
}

void setIndex(AppPrefList& list, PrefItem* item, const std::string& name, int index) {
  int expected = resultBeforeTheValue(item, "Enumeration");
  if (expected == kOk && (index < 0 || static_cast<size_t>(index) >= item->elements.size())) {
    expected = kNotEnoughMemory;
  } else if (expected == kOk) {
    KelpFuzz::setPrefIndex(*item, index);
    expected = item->hasError ? kNotEnoughMemory : kOk;
  }
  FUZZ_CHECK_EQ(static_cast<int>(list.setEnumeration(name, index)), expected);
}

void setFlag(AppPrefList& list, PrefItem* item, const std::string& name, bool flag) {
  const int expected = resultBeforeTheValue(item, "Boolean");
  FUZZ_CHECK_EQ(static_cast<int>(list.setBoolean(name, flag)), expected);
  if (expected == kOk) {
    KelpFuzz::setPrefFlag(*item, flag);
  }
}

void setNumber(AppPrefList& list, PrefItem* item, const std::string& name, long long number) {
  const int expected = resultBeforeTheValue(item, "Integer");
  FUZZ_CHECK_EQ(static_cast<int>(list.setInteger(name, number)), expected);
  if (expected == kOk) {
    KelpFuzz::setPrefNumber(*item, number);
  }
}

void setDefaults(AppPrefList& list, PrefContents& contents) {
  std::vector<std::string> changed;
  list.setDefaultValue(&changed);
  FUZZ_CHECK(changed == KelpFuzz::setPrefsDefault(contents));
}

void change(AppPrefList& list, PrefContents& contents, Input& input) {
  const uint8_t operation = input.byte();
  if (operation % 8 == 7) {
    return setDefaults(list, contents);
  }
  const std::string name = takeName(input);
  PrefItem* const item = itemNamed(contents, name);
  switch (operation % 8) {
    case 0:
      return setFlag(list, item, name, input.byte() % 2 != 0);
    case 1:
      return setNumber(list, item, name, static_cast<long long>(input.doubleWord()));
    case 2:
      return setText(list, item, name, input.text(), false);
    case 3:
      return setText(list, item, name, input.text(), true);
    case 4:
      return setIndex(list, item, name, static_cast<int8_t>(input.byte()));
    case 5: {
      const std::string text = input.text();
      FUZZ_CHECK_EQ(static_cast<int>(list.restoreValue(name, text, "")),
                    item == nullptr ? kInvalidParameter : KelpFuzz::setPrefByText(*item, text));
      return;
    }
    default:
      return setByWeb(list, contents, name, input);
  }
}

// An item of each type, and an enumeration whose default is none of its elements.
std::string listFile(const std::string& more) {
  using KelpTest::itemJson;
  return KelpTest::fileJson({itemJson("boolean", "Boolean", "FALSE", "TRUE", more),
                             itemJson("integer", "Integer", "1", "42", more),
                             itemJson("string", "String", "none", "front door", more),
                             itemJson("enumeration", "Enumeration", "auto", "off",
                                      R"(, "enumerationList": ["auto", "manual", "off"])" + more),
                             itemJson("binary", "Binary", "", "TWFu", more),
                             itemJson("odd", "Enumeration", "none", "a", R"(, "enumerationList": ["a", "b"])" + more)});
}

// Loaded once and copied each time.
struct LoadedList {
  explicit LoadedList(const std::string& file) : contents(KelpFuzz::loadPrefs(file, false, 0)), list(load(file)) {}

  const PrefContents contents;
  const AppPrefList list;

 private:
  static AppPrefList load(const std::string& file) {
    const std::string path = KelpFuzz::pathOf("prefs");
    KelpFuzz::writeFile(path, file);
    return AppPrefList(path, false, 0);
  }
};

void checkList(const LoadedList& loaded, Input& input) {
  PrefContents contents = loaded.contents;
  AppPrefList list(loaded.list);
  for (int changes = 0; !input.isEmpty() && changes < kMostChanges; ++changes) {
    change(list, contents, input);
  }
  KelpFuzz::checkPrefs(list, contents);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const LoadedList s_list(listFile(""));
  static const LoadedList s_readOnlyList(listFile(R"(, "appApiAccess": "Read", "webApiAccess": "Read")"));
  const KelpFuzz::Residue residue;
  Input input(data, size);
  const uint8_t control = input.byte();
  if (control % 4 != 0) {
    checkItem(input);
  } else {
    checkList(control % 16 == 0 ? s_readOnlyList : s_list, input);
  }
  return 0;
}
