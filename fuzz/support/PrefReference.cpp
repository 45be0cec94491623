#include "fuzz/support/PrefReference.h"

#include <errno.h>
#include <json-c/json.h>
#include <limits.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <map>
#include <memory>

#include "support/Base64Reference.h"

namespace KelpFuzz {

namespace {

constexpr size_t kLongestText = 1024;
constexpr size_t kLongestBinary = 43692;
constexpr size_t kLargestFile = 131072;
constexpr size_t kLargestDefaultFile = 65536;

constexpr int kOk = 0;
constexpr int kInvalidParameter = 1;
constexpr int kInvalidProtocol = 10;
constexpr int kInvalidPreference = 22;

struct JsonPut {
  void operator()(json_object* object) const { json_object_put(object); }
};
using Json = std::unique_ptr<json_object, JsonPut>;
using OptionalText = std::optional<std::string>;
using OptionalNumber = std::optional<long long>;

const std::map<std::string, int> kAccesses = {{"ReadWrite", 0}, {"Read", 1}, {"None", 2}};

// A whole text that is a number and not out of range. What strtoll() returned otherwise goes to `anyway`.
OptionalNumber numberOf(const std::string& text, int base, long long& anyway) {
  char* end = nullptr;
  errno = 0;
  anyway = strtoll(text.c_str(), &end, base);
  if (text.empty() || errno != 0 || end != text.c_str() + text.size()) {
    return std::nullopt;
  }
  return anyway;
}

OptionalNumber numberOf(const std::string& text, int base) {
  long long anyway = 0;
  return numberOf(text, base, anyway);
}

int firstIndexOf(const std::vector<std::string>& elements, const std::string& text) {
  const auto found = std::find(elements.begin(), elements.end(), text);
  return found == elements.end() ? -1 : static_cast<int>(found - elements.begin());
}

// As the item's constructor takes a value from a file.
void takeFirstValue(PrefItem& item) {
  if (item.type == "Binary") {
    item.value.resize(std::min(item.value.size(), kLongestBinary));
    return;
  }
  item.hasError = item.hasError || item.value.size() > kLongestText;
  if (item.type == "Boolean") {
    item.flag = item.value == "TRUE";
    item.hasError = item.hasError || (item.value != "TRUE" && item.value != "FALSE");
  } else if (item.type == "Integer") {
    long long number = 0;
    item.hasError = !numberOf(item.value, 10, number) || item.hasError;
    setPrefNumber(item, number);
  } else if (item.type == "Enumeration") {
    for (size_t i = 0; i < item.elements.size(); ++i) {
      if (item.elements[i].size() > kLongestText) {
        item.hasError = true;
        break;
      }
      item.index = item.elements[i] == item.value ? static_cast<int>(i) : item.index;
    }
    item.hasError = item.hasError || item.index == -1;
  }
}

int decodingResult(const std::string& text) {
  std::string padded = text;
  padded.append(4 - text.size() % 4, '\0');
  return KelpTest::decodedCharByChar(padded, text.size(), text.size() * 3 / 4, false).result;
}

// --- Files

OptionalText textOf(json_object* value) {
  const json_type type = json_object_get_type(value);
  if (type == json_type_null || type == json_type_object || type == json_type_array) {
    return std::nullopt;
  }
  return std::string(json_object_get_string(value));
}

json_object* memberOf(json_object* object, const char* key) {
  json_object* value = nullptr;
  json_object_object_get_ex(object, key, &value);
  return value;
}

OptionalText textUnder(json_object* object, const char* key) {
  return textOf(memberOf(object, key));
}

// -1 for a text that is no access.
int accessUnder(json_object* object, const char* key) {
  const OptionalText text = textUnder(object, key);
  const auto access = kAccesses.find(text.value_or("ReadWrite"));
  return access == kAccesses.end() ? -1 : access->second;
}

std::optional<std::vector<std::string>> elementsOf(json_object* item) {
  json_object* const array = memberOf(item, "enumerationList");
  if (json_object_get_type(array) != json_type_array) {
    return std::nullopt;
  }
  std::vector<std::string> elements;
  for (size_t i = 0; i < json_object_array_length(array); ++i) {
    const OptionalText element = textOf(json_object_array_get_idx(array, i));
    if (!element) {
      return std::nullopt;
    }
    elements.push_back(*element);
  }
  return elements;
}

std::optional<PrefItem> itemOf(json_object* item, bool isDefaultFile) {
  const OptionalText name = textUnder(item, "prefName");
  const OptionalText type = textUnder(item, "prefType");
  const OptionalText defaultValue = textUnder(item, "defaultValue");
  const OptionalText value = isDefaultFile ? defaultValue : textUnder(item, "value");
  const int appAccess = accessUnder(item, "appApiAccess");
  const int webAccess = accessUnder(item, "webApiAccess");
  if (!name || name->empty() || !type || !defaultValue || !value || appAccess == -1 || appAccess == 2 ||
      webAccess == -1) {
    return std::nullopt;
  }
  std::vector<std::string> elements;
  if (*type == "Enumeration") {
    const auto found = elementsOf(item);
    if (!found) {
      return std::nullopt;
    }
    elements = *found;
  }
  return makePref(*name, *type, elements, *defaultValue, appAccess, webAccess, *value);
}

OptionalNumber funcIdOf(const std::string& text) {
  const OptionalNumber number = numberOf(text, 16);
  return number && *number >= INT_MIN && *number <= static_cast<long long>(UINT_MAX) ? number : std::nullopt;
}

bool loadFuncId(PrefContents& contents, json_object* root) {
  const OptionalNumber number = funcIdOf(textUnder(root, "funcId").value_or(""));
  contents.funcId = number ? static_cast<int>(static_cast<uint32_t>(*number)) : 0;
  return number.has_value();
}

bool loadVersions(PrefContents& contents, json_object* root) {
  json_object* const version = memberOf(root, "preferenceVersion");
  contents.majorVersion = textUnder(version, "major").value_or("");
  contents.minorVersion = textUnder(version, "minor").value_or("");
  return !contents.majorVersion.empty() && !contents.minorVersion.empty();
}

bool hasItem(const PrefContents& contents, const std::string& name) {
  return std::any_of(contents.items.begin(), contents.items.end(),
                     [&](const PrefItem& item) { return item.name == name; });
}

bool loadItems(PrefContents& contents, json_object* root, bool isDefaultFile) {
  json_object* const array = memberOf(root, "preference");
  if (json_object_get_type(array) != json_type_array) {
    return false;
  }
  for (size_t i = 0; i < json_object_array_length(array); ++i) {
    const std::optional<PrefItem> item = itemOf(json_object_array_get_idx(array, i), isDefaultFile);
    if (!item || item->hasError || hasItem(contents, item->name)) {
      return false;
    }
    contents.items.push_back(*item);
  }
  return true;
}

// --- The canonical text

void addText(json_object* object, const char* key, const std::string& text) {
  json_object_object_add(object, key, json_object_new_string(text.c_str()));
}

std::string accessText(int access) {
  return std::find_if(kAccesses.begin(), kAccesses.end(), [access](const auto& each) { return each.second == access; })
      ->first;
}

json_object* jsonOf(const PrefItem& item) {
  json_object* const object = json_object_new_object();
  addText(object, "prefName", item.name);
  addText(object, "prefType", item.type);
  if (item.type == "Enumeration") {
    json_object* const elements = json_object_new_array();
    for (const std::string& element : item.elements) {
      json_object_array_add(elements, json_object_new_string(element.c_str()));
    }
    json_object_object_add(object, "enumerationList", elements);
  }
  addText(object, "appApiAccess", accessText(item.appAccess));
  addText(object, "webApiAccess", accessText(item.webAccess));
  addText(object, "defaultValue", item.defaultValue);
  addText(object, "value", item.shownValue());
  return object;
}

// --- Restoring

struct SavedContents {
  std::string checksum;
  PrefContents contents;
};

// All that a saved file has to have but for the right checksum.
std::optional<SavedContents> savedContentsOf(const std::string& savedText) {
  const Json root(json_tokener_parse(savedText.c_str()));
  json_object* const version = memberOf(root.get(), "preferenceVersion");
  json_object* const array = memberOf(root.get(), "preference");
  SavedContents saved;
  saved.checksum = textUnder(root.get(), "appPreferenceCrc").value_or("");
  if (!loadFuncId(saved.contents, root.get()) || json_object_get_type(version) != json_type_object ||
      !loadVersions(saved.contents, root.get()) || !numberOf(saved.contents.majorVersion, 10) ||
      !numberOf(saved.contents.minorVersion, 10) || json_object_get_type(array) != json_type_array) {
    return std::nullopt;
  }
  for (size_t i = 0; i < json_object_array_length(array); ++i) {
    const std::optional<PrefItem> item = itemOf(json_object_array_get_idx(array, i), false);
    if (!item) {
      return std::nullopt;
    }
    saved.contents.items.push_back(*item);
  }
  return saved;
}

// The first of its name, if it is of the other's type.
PrefItem* sameItem(PrefContents& contents, const PrefItem& other) {
  for (PrefItem& item : contents.items) {
    if (item.name == other.name) {
      return item.type == other.type ? &item : nullptr;
    }
  }
  return nullptr;
}

bool isSameButForItsValue(const PrefItem& own, const PrefItem& saved) {
  return own.defaultValue == saved.defaultValue && own.appAccess == saved.appAccess &&
         own.webAccess == saved.webAccess && own.elements == saved.elements;
}

int carryOver(PrefItem& own, const PrefItem& saved, std::vector<std::string>& changed) {
  const std::string oldValue = own.shownValue();
  const int result = setPrefByText(own, saved.shownValue());
  if (result == kOk && oldValue != saved.shownValue()) {
    changed.push_back(own.name);
  }
  return result;
}

int restoreSameMinor(PrefContents& contents, const PrefContents& saved, std::vector<std::string>& changed) {
  if (saved.items.size() != contents.items.size()) {
    return kInvalidPreference;
  }
  for (const PrefItem& item : saved.items) {
    PrefItem* const own = sameItem(contents, item);
    if (own == nullptr || !isSameButForItsValue(*own, item)) {
      return kInvalidPreference;
    }
    const int result = carryOver(*own, item, changed);
    if (result != kOk) {
      return result;
    }
  }
  return kOk;
}

int restoreOtherMinor(PrefContents& contents, const PrefContents& saved, std::vector<std::string>& changed) {
  for (const PrefItem& item : saved.items) {
    PrefItem* const own = sameItem(contents, item);
    if (own == nullptr || (own->type == "Enumeration" && firstIndexOf(own->elements, item.shownValue()) == -1)) {
      continue;
    }
    const int result = carryOver(*own, item, changed);
    if (result != kOk) {
      return result;
    }
  }
  return kOk;
}

}  // namespace

std::optional<PrefItem> makePref(const std::string& name, const std::string& type,
                                 const std::vector<std::string>& elements, const std::string& defaultValue,
                                 int appAccess, int webAccess, const std::string& value) {
  if (type != "Boolean" && type != "Integer" && type != "String" && type != "Enumeration" && type != "Binary") {
    return std::nullopt;
  }
  PrefItem item{name, type, {}, defaultValue, appAccess, webAccess, value};
  item.elements = type == "Enumeration" ? elements : std::vector<std::string>();
  item.hasError = name.size() > kLongestText;
  takeFirstValue(item);
  return item;
}

int setPrefByText(PrefItem& item, const std::string& text) {
  if (item.type == "Boolean") {
    if (text != "true" && text != "TRUE" && text != "false" && text != "FALSE") {
      return kInvalidParameter;
    }
    setPrefFlag(item, text == "true" || text == "TRUE");
  } else if (item.type == "Integer") {
    const OptionalNumber number = numberOf(text, 10);
    if (!number) {
      return kInvalidParameter;
    }
    setPrefNumber(item, *number);
  } else if (item.type == "String") {
    if (text.size() >= kLongestText) {
      return kInvalidParameter;
    }
    setPrefText(item, text);
  } else if (item.type == "Enumeration") {
    if (firstIndexOf(item.elements, text) == -1) {
      return kInvalidParameter;
    }
    setPrefIndex(item, firstIndexOf(item.elements, text));
  } else {
    const int result = decodingResult(text);
    if (result == kInvalidProtocol) {
      return kInvalidParameter;
    }
    setPrefText(item, text);
    return result;
  }
  return kOk;
}

void setPrefDefault(PrefItem& item) {
  if (item.type == "Boolean") {
    setPrefFlag(item, item.defaultValue == "true" || item.defaultValue == "TRUE");
  } else if (item.type == "Integer") {
    setPrefText(item, item.defaultValue);
    long long number = 0;
    numberOf(item.defaultValue, 10, number);
    setPrefNumber(item, number);
  } else if (item.type == "Enumeration") {
    item.index = firstIndexOf(item.elements, item.defaultValue);
    setPrefIndex(item, item.index);
  } else {
    setPrefText(item, item.defaultValue);
  }
}

void setPrefFlag(PrefItem& item, bool flag) {
  item.flag = flag;
  item.value = flag ? "TRUE" : "FALSE";
}

void setPrefNumber(PrefItem& item, long long number) {
  item.number = number;
  item.value = std::to_string(number);
}

void setPrefText(PrefItem& item, const std::string& text) {
  item.value = text;
  item.hasError = item.hasError || (item.type != "Binary" && text.size() > kLongestText);
}

void setPrefIndex(PrefItem& item, int index) {
  if (index < 0 || static_cast<size_t>(index) >= item.elements.size()) {
    item.hasError = true;
    return;
  }
  item.index = index;
  item.value = item.elements[static_cast<size_t>(index)];
}

std::string prefBlock(const PrefItem& item, const std::string& indent) {
  const std::string lineStart = "\n" + indent + "\t\"";
  const std::string appAccess = item.appAccess == 1 ? "Read" : "ReadWrite";
  const std::string webAccess = item.webAccess == 1 ? "Read" : item.webAccess == 2 ? "None" : "ReadWrite";
  std::string text = indent + "{" + lineStart + "prefName\": \"" + item.name + "\"," + lineStart + "prefType\": \"" +
                     item.type + "\",";
  if (item.type == "Enumeration") {
    text += lineStart + "enumerationList\": [";
    for (size_t i = 0; i < item.elements.size(); ++i) {
      text += (i == 0 ? "\"" : ", \"") + item.elements[i] + "\"";
    }
    text += "],";
  }
  return text + lineStart + "appApiAccess\": \"" + appAccess + "\"," + lineStart + "webApiAccess\": \"" + webAccess +
         "\"," + lineStart + "defaultValue\": \"" + item.defaultValue + "\"," + lineStart + "value\": \"" + item.value +
         "\"\n" + indent + "}";
}

PrefContents loadPrefs(const std::string& text, bool isDefaultFile, int expectedFuncId) {
  PrefContents contents;
  const bool isTooLarge = text.size() > (isDefaultFile ? kLargestDefaultFile : kLargestFile);
  const Json root(isTooLarge ? nullptr : json_tokener_parse(text.c_str()));
  if (root == nullptr) {
    contents.hasError = true;
    return contents;
  }
  const bool hasFuncId = loadFuncId(contents, root.get());
  const bool hasVersions = loadVersions(contents, root.get());
  const bool hasItems = loadItems(contents, root.get(), isDefaultFile);
  const bool isExpected = !isDefaultFile || contents.funcId == expectedFuncId;
  contents.hasError = !hasFuncId || !isExpected || !hasVersions || !hasItems;
  return contents;
}

std::vector<std::string> setPrefsDefault(PrefContents& contents) {
  std::vector<std::string> changed;
  for (PrefItem& item : contents.items) {
    if (item.shownValue() != item.defaultValue) {
      changed.push_back(item.name);
      setPrefDefault(item);
    }
  }
  return changed;
}

std::string canonicalText(const PrefContents& contents) {
  char funcId[16];
  snprintf(funcId, sizeof(funcId), "%08X", static_cast<unsigned int>(contents.funcId));
  const Json root(json_object_new_object());
  addText(root.get(), "funcId", funcId);
  json_object* const version = json_object_new_object();
  json_object_object_add(root.get(), "preferenceVersion", version);
  addText(version, "major", contents.majorVersion);
  addText(version, "minor", contents.minorVersion);
  json_object* const items = json_object_new_array();
  json_object_object_add(root.get(), "preference", items);
  for (const PrefItem& item : contents.items) {
    json_object_array_add(items, jsonOf(item));
  }
  return json_object_to_json_string_ext(root.get(), JSON_C_TO_STRING_PRETTY);
}

uint16_t checksumOf(const std::string& text) {
  uint32_t crc = 0xFFFFFFFF;
  for (const char character : text) {
    crc ^= static_cast<unsigned char>(character);
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
    }
  }
  return static_cast<uint16_t>(~crc);
}

std::string withChecksum(const std::string& savedText) {
  const std::optional<SavedContents> saved = savedContentsOf(savedText);
  if (!saved) {
    return savedText;
  }
  const Json root(json_tokener_parse(savedText.c_str()));
  addText(root.get(), "appPreferenceCrc", std::to_string(checksumOf(canonicalText(saved->contents))));
  return json_object_to_json_string_ext(root.get(), JSON_C_TO_STRING_PLAIN);
}

RestoreOutcome restorePrefs(PrefContents& contents, const std::string& savedText) {
  const std::optional<SavedContents> saved = savedContentsOf(savedText);
  if (!saved || saved->contents.funcId != contents.funcId || saved->contents.majorVersion != contents.majorVersion) {
    return {kInvalidPreference, {}};
  }
  const OptionalNumber checksum = numberOf(saved->checksum, 0);
  if (!checksum || *checksum != checksumOf(canonicalText(saved->contents))) {
    return {kInvalidPreference, {}};
  }
  RestoreOutcome outcome{kOk, {}};
  outcome.result = saved->contents.minorVersion == contents.minorVersion
                       ? restoreSameMinor(contents, saved->contents, outcome.changed)
                       : restoreOtherMinor(contents, saved->contents, outcome.changed);
  return outcome;
}

}  // namespace KelpFuzz
