#include "core/ApplicationPreferences.h"

#include <list>
#include <vector>

#include "AppPref.h"
#include "AppPrefEnumeration.h"
#include "common/WebApi.h"

namespace KelpExample {

namespace {

const char* accessText(Kelp::ApiAccessType access) {
  return access == Kelp::ApiAccessType_ReadWrite ? "ReadWrite" : "Read";
}

void describeElements(const Kelp::AppPref& pref, Record& record) {
  record.beginArray("enumerationList");
  for (const std::string& element : static_cast<const Kelp::AppPrefEnumeration&>(pref).getEnumerationArray()) {
    record.putString("", element);
  }
  record.endArray();
}

void describePref(const Kelp::AppPref& pref, Record& record) {
  record.beginStruct("");
  record.putString(kPrefName, pref.getPrefName());
  record.putString(kPrefType, Kelp::AppPref::getPrefTypeString(pref.getPrefType()));
  if (pref.getPrefType() == Kelp::AppPrefType_Enumeration) {
    describeElements(pref, record);
  }
  record.putString("webApiAccess", accessText(pref.getWebApiAccess()));
  record.putString("defaultValue", pref.getDefaultValue());
  record.putString(kPrefValue, pref.getValueByString());
  record.endStruct();
}

}  // namespace

// The function id is compared for default files only.
ApplicationPreferences::ApplicationPreferences(const std::string& path) : m_path(path), m_list(path, false, 0) {}

bool ApplicationPreferences::isValid() const {
  return !m_list.hasError();
}

// Works on a copy: a change that does not reach the disk is none.
Kelp::CommonReturnCode_t ApplicationPreferences::set(const std::string& prefName, const std::string& value,
                                                     const std::string& typeText) {
  if (!isValid()) {
    return Kelp::CommonReturnCode_InvalidApplicationPreference;
  }
  Kelp::AppPrefList changed(m_list);
  const Kelp::CommonReturnCode_t code = changed.setValue(prefName, value, typeText);
  return code == Kelp::CommonReturnCode_Ok ? save(changed) : code;
}

Kelp::CommonReturnCode_t ApplicationPreferences::setDefaults() {
  if (!isValid()) {
    return Kelp::CommonReturnCode_InvalidApplicationPreference;
  }
  Kelp::AppPrefList changed(m_list);
  for (Kelp::AppPref* pref : changed.getPrefList()) {
    pref->setDefaultValue();
  }
  return save(changed);
}

void ApplicationPreferences::describe(Record& record) const {
  record.putHexadecimal(kFuncId, m_list.getFuncId());
  record.beginStruct("preferenceVersion");
  record.putString("major", m_list.getMajorPrefVersion());
  record.putString("minor", m_list.getMinorPrefVersion());
  record.endStruct();
  record.beginArray("preference");
  for (const Kelp::AppPref* pref : m_list.getPrefList()) {
    if (pref->getWebApiAccess() != Kelp::ApiAccessType_None) {
      describePref(*pref, record);
    }
  }
  record.endArray();
}

// After a failure the new file may still be in place, with the wrong mode: the file decides what holds.
Kelp::CommonReturnCode_t ApplicationPreferences::save(const Kelp::AppPrefList& changed) {
  const Kelp::CommonReturnCode_t code = changed.writeFile(m_path);
  m_list = code == Kelp::CommonReturnCode_Ok ? changed : Kelp::AppPrefList(m_path, false, 0);
  return code;
}

}  // namespace KelpExample
