#include "AppPrefInteger.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>

namespace Kelp {

AppPrefInteger::AppPrefInteger(const std::string& prefName, const std::string& defaultValue, ApiAccessType appApiAccess,
                               ApiAccessType webApiAccess, const std::string& value)
    : AppPref(prefName, AppPrefType_Integer, defaultValue, appApiAccess, webApiAccess, value), m_intValue(0) {
  long long number = 0;
  if (strtoInt(value, number) != CommonReturnCode_Ok) {
    setError();
  }
  setValue(number);
}

AppPrefInteger::~AppPrefInteger() = default;

void AppPrefInteger::setDefaultValue() {
  const std::string text = getDefaultValue();
  setValueString(text);
  long long number = 0;
  strtoInt(text, number);
  setValue(number);
}

CommonReturnCode_t AppPrefInteger::setValueByString(const std::string& text) {
  long long number = 0;
  const CommonReturnCode_t result = strtoInt(text, number);
  if (result == CommonReturnCode_Ok) {
    setValue(number);
  }
  return result;
}

AppPref* AppPrefInteger::clone() const {
  return new AppPrefInteger(*this);
}

long long AppPrefInteger::getValue() const {
  return m_intValue;
}

void AppPrefInteger::setValue(long long value) {
  m_intValue = value;
  char text[64];
  snprintf(text, sizeof text, "%lld", value);
  setValueString(text);
}

CommonReturnCode_t AppPrefInteger::strtoInt(const std::string& text, long long& number) {
  char* end = nullptr;
  errno = 0;
  number = strtoll(text.c_str(), &end, 10);
  const bool isWhole = !text.empty() && end == text.c_str() + text.size();
  return isWhole && errno == 0 ? CommonReturnCode_Ok : CommonReturnCode_InvalidParameter;
}

}  // namespace Kelp
