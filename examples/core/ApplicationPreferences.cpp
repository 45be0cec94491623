#include "core/ApplicationPreferences.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <list>

#include "AppPref.h"
#include "AppPrefEnumeration.h"
#include "FileOperator.h"
#include "SysFunc.h"
#include "common/WebApi.h"
#include "crcCalculator.h"

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

std::string textOf(const Kelp::AppPrefList& list) {
  std::string text;
  list.getAppPrefJsonStringForCRC(text);
  return text;
}

// The checksum becomes the first member of the object that the text is.
std::string withChecksum(const std::string& text) {
  const unsigned short crc =
      Kelp::crcCalculator::getCRC(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  char member[48];
  snprintf(member, sizeof(member), "\n  \"appPreferenceCrc\":\"0x%04X\",", static_cast<unsigned int>(crc));
  return text.substr(0, 1) + member + text.substr(1);
}

bool writeToDisk(const std::string& path, const std::string& text) {
  Kelp::FileOperator file(path, false);
  if (file.open(O_WRONLY | O_CREAT | O_TRUNC, 0600) != 0) {
    return false;
  }
  const int size = static_cast<int>(text.size());
  return file.write(text.data(), size) == size && fsync(file.getFd()) == 0;
}

// Whatever happens, the old or the new file is at the path, and is whole; after success it is the new one.
Kelp::CommonReturnCode_t replaceFile(const std::string& path, const std::string& text) {
  const std::string newPath = path + "~";
  if (!writeToDisk(newPath, text) || Kelp::SysFunc::kelpRename(newPath, path) != Kelp::CommonReturnCode_Ok) {
    unlink(newPath.c_str());
    return Kelp::CommonReturnCode_IoError;
  }
  sync();  // the new name, and the directories where they are new too
  return Kelp::CommonReturnCode_Ok;
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
  changed.setDefaultValue(nullptr);
  return save(changed);
}

Kelp::CommonReturnCode_t ApplicationPreferences::saveTo(const std::string& filePath) const {
  if (!isValid()) {
    return Kelp::CommonReturnCode_InvalidApplicationPreference;
  }
  const std::string text = textOf(m_list);
  return text.empty() ? Kelp::CommonReturnCode_NotEnoughMemory : replaceFile(filePath, withChecksum(text));
}

// Works on a copy, like set(). A restored list that could not be written is no failure to the list, but to us: what is
// on disk is looked at.
Kelp::CommonReturnCode_t ApplicationPreferences::restoreFrom(const std::string& filePath,
                                                             std::vector<std::string>& changed) {
  if (!isValid()) {
    return Kelp::CommonReturnCode_InvalidApplicationPreference;
  }
  Kelp::AppPrefList restored(m_list);
  const Kelp::CommonReturnCode_t code = restored.AppPrefRestore(filePath, &changed);
  if (code != Kelp::CommonReturnCode_Ok) {
    return code;
  }
  m_list = Kelp::AppPrefList(m_path, false, 0);
  return textOf(m_list) == textOf(restored) ? Kelp::CommonReturnCode_Ok : Kelp::CommonReturnCode_IoError;
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

int ApplicationPreferences::getFuncId() const {
  return m_list.getFuncId();
}

std::string ApplicationPreferences::getVersion() const {
  return isValid() ? m_list.getMajorPrefVersion() + "." + m_list.getMinorPrefVersion() : "";
}

// After a failure the new file may still be in place, with the wrong mode: the file decides what holds.
Kelp::CommonReturnCode_t ApplicationPreferences::save(const Kelp::AppPrefList& changed) {
  const Kelp::CommonReturnCode_t code = changed.writeFile(m_path);
  m_list = code == Kelp::CommonReturnCode_Ok ? changed : Kelp::AppPrefList(m_path, false, 0);
  return code;
}

}  // namespace KelpExample
