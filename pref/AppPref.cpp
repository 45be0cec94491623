#include "AppPref.h"

#include <stddef.h>

#include "AppPrefEnumeration.h"
#include "foundation/Diagnostics.h"

namespace Kelp {

namespace {

constexpr size_t kMaxStringSize = 1024;
constexpr size_t kMaxBinaryTextSize = 43692;  // the Base64 text of 32768 bytes

std::string makeLine(const std::string& indent, const char* key, const std::string& text) {
  return indent + "\t\"" + key + "\": \"" + text + "\"";
}

std::string makeEnumerationLine(const std::string& indent, const std::vector<std::string>& elements) {
  std::string line = indent + "\t\"enumerationList\": [";
  const char* separator = "";
  for (const std::string& element : elements) {
    line += separator;
    line += "\"" + element + "\"";
    separator = ", ";
  }
  return line + "],\n";
}

// This block has no text for an application that has no access.
const char* appAccessText(ApiAccessType access) {
  return access == ApiAccessType_Read ? "Read" : "ReadWrite";
}

const char* webAccessText(ApiAccessType access) {
  return access == ApiAccessType_None ? "None" : appAccessText(access);
}

}  // namespace

AppPref::AppPref(const std::string& prefName, AppPrefType prefType, const std::string& defaultValue,
                 ApiAccessType appApiAccess, ApiAccessType webApiAccess, const std::string& value)
    : m_prefName(prefName),
      m_prefType(prefType),
      m_defaultValue(defaultValue),
      m_appApiAccess(appApiAccess),
      m_webApiAccess(webApiAccess),
      m_value(value),
      m_error(false) {
  const bool isBinary = prefType == AppPrefType_Binary;
  if (!isValidString(prefName) || (!isBinary && !isValidString(value))) {
    setError();
  }
  if (isBinary && m_value.size() > kMaxBinaryTextSize) {
    m_value.resize(kMaxBinaryTextSize);
  }
}

AppPref::AppPref(const AppPref& other) = default;

AppPref::~AppPref() = default;

std::string AppPref::makeJsonString(const std::string& indent) const {
  std::string text = indent + "{\n";
  text += makeLine(indent, "prefName", m_prefName) + ",\n";
  text += makeLine(indent, "prefType", getPrefTypeString(m_prefType)) + ",\n";
  if (m_prefType == AppPrefType_Enumeration) {
    text += makeEnumerationLine(indent, static_cast<const AppPrefEnumeration*>(this)->getEnumerationArray());
  }
  text += makeLine(indent, "appApiAccess", appAccessText(m_appApiAccess)) + ",\n";
  text += makeLine(indent, "webApiAccess", webAccessText(m_webApiAccess)) + ",\n";
  text += makeLine(indent, "defaultValue", m_defaultValue) + ",\n";
  text += makeLine(indent, "value", m_value) + "\n";
  return text + indent + "}";
}

std::string AppPref::getPrefName() const {
  return m_prefName;
}

AppPrefType AppPref::getPrefType() const {
  return m_prefType;
}

std::string AppPref::getDefaultValue() const {
  return m_defaultValue;
}

ApiAccessType AppPref::getAppApiAccess() const {
  return m_appApiAccess;
}

ApiAccessType AppPref::getWebApiAccess() const {
  return m_webApiAccess;
}

std::string AppPref::getValueByString() const {
  return m_error ? std::string() : m_value;
}

bool AppPref::hasError() const {
  return m_error;
}

void AppPref::setError() {
  KELP_LOG_ERROR("SET PREF ERROR.");
  m_error = true;
}

std::string AppPref::getPrefTypeString(AppPrefType prefType) {
  switch (prefType) {
    case AppPrefType_Boolean:
      return "Boolean";
    case AppPrefType_Integer:
      return "Integer";
    case AppPrefType_String:
      return "String";
    case AppPrefType_Enumeration:
      return "Enumeration";
    case AppPrefType_Binary:
      return "Binary";
  }
  KELP_FAIL("false");
}

bool AppPref::isValidString(const std::string& text) {
  return text.size() <= kMaxStringSize;
}

void AppPref::setValueString(const std::string& text) {
  m_value = text;
  if (m_prefType != AppPrefType_Binary && !isValidString(text)) {
    setError();
  }
}

void AppPref::assignValue(const std::string& text) {
  m_value = text;
}

const std::string& AppPref::getStoredValue() const {
  return m_value;
}

}  // namespace Kelp
