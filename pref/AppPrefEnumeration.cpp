#include "AppPrefEnumeration.h"

#include <stddef.h>

#include <algorithm>

namespace Kelp {

namespace {

constexpr int kNoIndex = -1;

}  // namespace

AppPrefEnumeration::AppPrefEnumeration(const std::string& prefName, const std::vector<std::string>& enumerationList,
                                       const std::string& defaultValue, ApiAccessType appApiAccess,
                                       ApiAccessType webApiAccess, const std::string& value)
    : AppPref(prefName, AppPrefType_Enumeration, defaultValue, appApiAccess, webApiAccess, value),
      m_enumerationList(enumerationList),
      m_valueIndex(kNoIndex) {
  findLastValue(value);
  if (m_valueIndex == kNoIndex) {
    setError();
  }
}

AppPrefEnumeration::~AppPrefEnumeration() = default;

void AppPrefEnumeration::setDefaultValue() {
  m_valueIndex = getValueIndex(getDefaultValue());
  setValue(m_valueIndex);
}

CommonReturnCode_t AppPrefEnumeration::setValueByString(const std::string& text) {
  const int index = getValueIndex(text);
  if (index == kNoIndex) {
    return CommonReturnCode_InvalidParameter;
  }
  setValue(index);
  return CommonReturnCode_Ok;
}

AppPref* AppPrefEnumeration::clone() const {
  return new AppPrefEnumeration(*this);
}

int AppPrefEnumeration::getValue() const {
  return m_valueIndex;
}

void AppPrefEnumeration::setValue(int index) {
  if (!isIndex(index)) {
    setError();
    return;
  }
  assignValue(m_enumerationList[static_cast<size_t>(index)]);
  m_valueIndex = index;
}

const std::vector<std::string>& AppPrefEnumeration::getEnumerationArray() const {
  return m_enumerationList;
}

int AppPrefEnumeration::getValueIndex(const std::string& text) const {
  const auto found = std::find(m_enumerationList.begin(), m_enumerationList.end(), text);
  return found == m_enumerationList.end() ? kNoIndex : static_cast<int>(found - m_enumerationList.begin());
}

bool AppPrefEnumeration::isIndex(int index) const {
  return index >= 0 && static_cast<size_t>(index) < m_enumerationList.size();
}

// A value from the file means the last of equal elements; one that is set later means the first (getValueIndex()).
void AppPrefEnumeration::findLastValue(const std::string& value) {
  int index = 0;
  for (const std::string& element : m_enumerationList) {
    if (!isValidString(element)) {
      setError();
      return;
    }
    if (element == value) {
      m_valueIndex = index;
    }
    ++index;
  }
}

}  // namespace Kelp
