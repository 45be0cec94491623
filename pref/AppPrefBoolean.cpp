#include "AppPrefBoolean.h"

namespace Kelp {

// Made before the statics of a program that links the archive, which may hold preferences.
// NOLINTBEGIN(cert-err58-cpp): a process without memory for nine bytes does not start
[[gnu::init_priority(101)]] const std::string AppPrefBoolean::s_strTrue = "TRUE";
[[gnu::init_priority(101)]] const std::string AppPrefBoolean::s_strFalse = "FALSE";
// NOLINTEND(cert-err58-cpp)

AppPrefBoolean::AppPrefBoolean(const std::string& prefName, const std::string& defaultValue, ApiAccessType appApiAccess,
                               ApiAccessType webApiAccess, const std::string& value)
    : AppPref(prefName, AppPrefType_Boolean, defaultValue, appApiAccess, webApiAccess, value),
      m_boolValue(value == s_strTrue) {
  if (!m_boolValue && value != s_strFalse) {
    setError();
  }
}

AppPrefBoolean::~AppPrefBoolean() = default;

void AppPrefBoolean::setDefaultValue() {
  bool flag = false;
  strtoBoolean(getDefaultValue(), flag);
  setValue(flag);
}

CommonReturnCode_t AppPrefBoolean::setValueByString(const std::string& text) {
  bool flag = false;
  const CommonReturnCode_t result = strtoBoolean(text, flag);
  if (result == CommonReturnCode_Ok) {
    setValue(flag);
  }
  return result;
}

AppPref* AppPrefBoolean::clone() const {
  return new AppPrefBoolean(*this);
}

bool AppPrefBoolean::getValue() const {
  return m_boolValue;
}

void AppPrefBoolean::setValue(bool value) {
  m_boolValue = value;
  setValueString(value ? s_strTrue : s_strFalse);
}

CommonReturnCode_t AppPrefBoolean::strtoBoolean(const std::string& text, bool& flag) {
  const bool isTrue = text == "true" || text == s_strTrue;
  if (!isTrue && text != "false" && text != s_strFalse) {
    return CommonReturnCode_InvalidParameter;
  }
  flag = isTrue;
  return CommonReturnCode_Ok;
}

}  // namespace Kelp
