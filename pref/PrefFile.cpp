#include "pref/PrefFile.h"

#include <errno.h>
#include <json-c/json.h>
#include <limits.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>

#include <utility>

#include "AppPrefEnumeration.h"
#include "FileOperator.h"
#include "SysFunc.h"

namespace Kelp {

namespace {

constexpr const char* kAccessTexts[] = {"ReadWrite", "Read", "None"};  // by ApiAccessType

struct BlockRelease {
  void operator()(void* block) const { SysFunc::kelpFree(block); }
};
using TextBlock = std::unique_ptr<char, BlockRelease>;

// The file's bytes and a NUL, or null.
TextBlock readBytes(const FileOperator& file, long long size) {
  if (size < 0 || size >= INT_MAX) {
    return nullptr;
  }
  const int length = static_cast<int>(size);
  TextBlock text(static_cast<char*>(SysFunc::kelpMalloc(static_cast<unsigned int>(length) + 1)));
  if (text == nullptr || file.readNoTimeout(text.get(), length) != length) {
    return nullptr;
  }
  text.get()[length] = '\0';
  return text;
}

// False for null too, which json-c gives as no value at all.
bool isText(json_object* value) {
  return value != nullptr && !json_object_is_type(value, json_type_object) &&
         !json_object_is_type(value, json_type_array);
}

bool toText(json_object* value, std::string& text) {
  const char* const valueText = isText(value) ? json_object_get_string(value) : nullptr;
  if (valueText == nullptr) {
    return false;
  }
  text = valueText;
  return true;
}

// Each add...() takes the value over and is false when it, or the room for it, could not be had.
bool addValue(const JsonOwner& object, const char* key, JsonOwner value) {
  if (value == nullptr || json_object_object_add(object.get(), key, value.get()) != 0) {
    return false;
  }
  static_cast<void>(value.release());
  return true;
}

bool addElement(const JsonOwner& array, JsonOwner value) {
  if (value == nullptr || json_object_array_add(array.get(), value.get()) != 0) {
    return false;
  }
  static_cast<void>(value.release());
  return true;
}

bool addText(const JsonOwner& object, const char* key, const std::string& text) {
  return addValue(object, key, JsonOwner(json_object_new_string(text.c_str())));
}

JsonOwner makeTexts(const std::vector<std::string>& texts) {
  JsonOwner array(json_object_new_array());
  bool isMade = array != nullptr;
  for (const std::string& text : texts) {
    isMade = isMade && addElement(array, JsonOwner(json_object_new_string(text.c_str())));
  }
  return isMade ? std::move(array) : nullptr;
}

bool addElements(const JsonOwner& object, const AppPref& pref) {
  if (pref.getPrefType() != AppPrefType_Enumeration) {
    return true;
  }
  const auto& enumeration = static_cast<const AppPrefEnumeration&>(pref);
  return addValue(object, "enumerationList", makeTexts(enumeration.getEnumerationArray()));
}

JsonOwner makeItem(const AppPref& pref) {
  JsonOwner object(json_object_new_object());
  const bool isMade =
      object != nullptr && addText(object, "prefName", pref.getPrefName()) &&
      addText(object, "prefType", AppPref::getPrefTypeString(pref.getPrefType())) && addElements(object, pref) &&
      addText(object, "appApiAccess", kAccessTexts[pref.getAppApiAccess()]) &&
      addText(object, "webApiAccess", kAccessTexts[pref.getWebApiAccess()]) &&
      addText(object, "defaultValue", pref.getDefaultValue()) && addText(object, "value", pref.getValueByString());
  return isMade ? std::move(object) : nullptr;
}

JsonOwner makeItems(const std::list<AppPref*>& prefs) {
  JsonOwner array(json_object_new_array());
  bool isMade = array != nullptr;
  for (const AppPref* pref : prefs) {
    isMade = isMade && addElement(array, makeItem(*pref));
  }
  return isMade ? std::move(array) : nullptr;
}

JsonOwner makeVersion(const std::string& majorVersion, const std::string& minorVersion) {
  JsonOwner object(json_object_new_object());
  const bool isMade =
      object != nullptr && addText(object, "major", majorVersion) && addText(object, "minor", minorVersion);
  return isMade ? std::move(object) : nullptr;
}

std::string makeFuncIdText(int funcId) {
  char text[16];
  snprintf(text, sizeof text, "%08X", static_cast<unsigned int>(funcId));
  return text;
}

}  // namespace

void JsonRelease::operator()(json_object* object) const {
  json_object_put(object);
}

JsonOwner readJson(const FileOperator& file, long long size, bool& isRead) {
  const TextBlock text = readBytes(file, size);
  isRead = text != nullptr;
  return JsonOwner(isRead ? json_tokener_parse(text.get()) : nullptr);
}

bool readText(json_object* object, const char* key, std::string& text) {
  return toText(json_object_object_get(object, key), text);
}

bool toNumber(const std::string& text, int base, long long& number) {
  char* end = nullptr;
  errno = 0;
  number = strtoll(text.c_str(), &end, base);
  return !text.empty() && *end == '\0' && errno == 0;
}

bool toFuncId(const std::string& text, int& funcId) {
  long long number = 0;
  if (!toNumber(text, 16, number) || number < INT_MIN || number > static_cast<long long>(UINT_MAX)) {
    return false;
  }
  funcId = static_cast<int>(static_cast<unsigned int>(number));
  return true;
}

bool readAccess(json_object* object, const char* key, ApiAccessType& access) {
  json_object* const value = json_object_object_get(object, key);
  access = ApiAccessType_ReadWrite;
  if (!isText(value)) {
    return true;
  }
  std::string text;
  if (!toText(value, text)) {
    return false;
  }
  for (const ApiAccessType known : {ApiAccessType_ReadWrite, ApiAccessType_Read, ApiAccessType_None}) {
    if (text == kAccessTexts[known]) {
      access = known;
      return true;
    }
  }
  return false;
}

bool readTexts(json_object* object, const char* key, std::vector<std::string>& texts) {
  json_object* const array = json_object_object_get(object, key);
  if (!json_object_is_type(array, json_type_array)) {
    return false;
  }
  const size_t count = json_object_array_length(array);
  texts.resize(count);
  for (size_t i = 0; i < count; ++i) {
    if (!toText(json_object_array_get_idx(array, i), texts[i])) {
      return false;
    }
  }
  return true;
}

bool makePrefFileText(int funcId, const std::string& majorVersion, const std::string& minorVersion,
                      const std::list<AppPref*>& prefs, std::string& text) {
  const JsonOwner root(json_object_new_object());
  const bool isMade = root != nullptr && addText(root, "funcId", makeFuncIdText(funcId)) &&
                      addValue(root, "preferenceVersion", makeVersion(majorVersion, minorVersion)) &&
                      addValue(root, "preference", makeItems(prefs));
  const char* const rootText = isMade ? json_object_to_json_string_ext(root.get(), JSON_C_TO_STRING_PRETTY) : nullptr;
  if (rootText == nullptr) {
    return false;
  }
  text = rootText;
  return true;
}

}  // namespace Kelp
