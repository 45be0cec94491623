#include "AppPrefString.h"

#include <stddef.h>

namespace Kelp {

namespace {

constexpr size_t kMaxTextSize = 1023;  // what comes as text may have one byte fewer than what the file holds

}  // namespace

AppPrefString::AppPrefString(const std::string& prefName, const std::string& defaultValue, ApiAccessType appApiAccess,
                             ApiAccessType webApiAccess, const std::string& value)
    : AppPref(prefName, AppPrefType_String, defaultValue, appApiAccess, webApiAccess, value) {}

AppPrefString::~AppPrefString() = default;

void AppPrefString::setDefaultValue() {
  setValueString(getDefaultValue());
}

CommonReturnCode_t AppPrefString::setValueByString(const std::string& text) {
  if (text.size() > kMaxTextSize) {
    return CommonReturnCode_InvalidParameter;
  }
  setValue(text);
  return CommonReturnCode_Ok;
}

AppPref* AppPrefString::clone() const {
  return new AppPrefString(*this);
}

std::string AppPrefString::getValue() const {
  return getStoredValue();
}

void AppPrefString::setValue(const std::string& value) {
  setValueString(value);
}

}  // namespace Kelp
