#include "AppPrefList.h"

#include <fcntl.h>
#include <json-c/json.h>
#include <stddef.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "AppPrefBinary.h"
#include "AppPrefBoolean.h"
#include "AppPrefEnumeration.h"
#include "AppPrefFactory.h"
#include "AppPrefInteger.h"
#include "AppPrefString.h"
#include "FileOperator.h"
#include "SysFunc.h"
#include "foundation/Diagnostics.h"
#include "pref/PrefFile.h"
#include "pref/SavedPrefFile.h"

namespace Kelp {

namespace {

constexpr size_t kMaxFileSize = 131072;
constexpr size_t kMaxDefaultFileSize = 65536;
constexpr size_t kMaxStringSize = 1023;  // by the application's setter; the file may hold one byte more
constexpr unsigned int kFileMode = 0777;

bool readVersion(json_object* object, const char* key, std::string& version) {
  return readText(object, key, version) && !version.empty();
}

// A close that fails tells of bytes that never reached the file: it must not replace the old one.
bool writeAndClose(FileOperator& file, const std::string& text) {
  const int size = static_cast<int>(text.size());
  return file.write(text.data(), size) == size && file.close() == 0;
}

}  // namespace

AppPrefList::AppPrefList(const std::string& path, bool isDefaultFile, int expectedFuncId)
    : m_path(path), m_error(false), m_funcId(0) {
  m_error = !load(isDefaultFile, expectedFuncId);
}

AppPrefList::AppPrefList(const AppPrefList& other)
    : m_path(other.m_path),
      m_error(other.m_error),
      m_funcId(other.m_funcId),
      m_majorVersion(other.m_majorVersion),
      m_minorVersion(other.m_minorVersion) {
  for (const AppPref* pref : other.m_prefList) {
    m_prefList.push_back(pref->clone());
  }
}

AppPrefList& AppPrefList::operator=(const AppPrefList& other) {
  AppPrefList copy(other);
  m_path.swap(copy.m_path);
  m_prefList.swap(copy.m_prefList);
  m_majorVersion.swap(copy.m_majorVersion);
  m_minorVersion.swap(copy.m_minorVersion);
  m_error = copy.m_error;
  m_funcId = copy.m_funcId;
  return *this;
}

AppPrefList::~AppPrefList() {
  for (const AppPref* pref : m_prefList) {
    delete pref;
  }
}

bool AppPrefList::load(bool isDefaultFile, int expectedFuncId) {
  FileOperator file(m_path, false);
  if (file.open(O_RDONLY, 0) != 0) {
    KELP_LOG_ERROR("ERROR:can not open pref file.");
    return false;
  }
  const long long size = file.size();
  if (size > static_cast<long long>(isDefaultFile ? kMaxDefaultFileSize : kMaxFileSize)) {
    KELP_LOG_ERROR("###ERROR###");
    return false;
  }
  bool isRead = false;
  const JsonOwner root = readJson(file, size, isRead);
  if (!isRead) {
    KELP_LOG_ERROR("###ERROR###");
    return false;
  }
  if (root == nullptr) {
    KELP_LOG_ERROR("Invalid AppPrefFile File Format");
    return false;
  }
  // What is wrong with one section does not keep the others from being read, and their faults from being logged.
  const bool hasFuncId = loadFuncId(root.get(), isDefaultFile, expectedFuncId);
  const bool hasVersion = loadVersion(root.get());
  const bool hasItems = loadItems(root.get(), isDefaultFile);
  return hasFuncId && hasVersion && hasItems;
}

bool AppPrefList::loadFuncId(json_object* root, bool isDefaultFile, int expectedFuncId) {
  std::string text;
  if (!readText(root, "funcId", text)) {
    KELP_LOG_ERROR("FuncId is NULL");
    return false;
  }
  if (!toFuncId(text, m_funcId)) {
    KELP_LOG_ERROR("FuncId is not integer");
    return false;
  }
  if (isDefaultFile && m_funcId != expectedFuncId) {
    KELP_LOG_ERROR("FuncId is set bad parameter(%d != %d)", m_funcId, expectedFuncId);
    return false;
  }
  return true;
}

bool AppPrefList::loadVersion(json_object* root) {
  json_object* const version = json_object_object_get(root, "preferenceVersion");
  if (version == nullptr) {
    KELP_LOG_ERROR("preferenceVersion is NULL");
    return false;
  }
  const bool hasMajor = readVersion(version, "major", m_majorVersion);
  if (!hasMajor) {
    KELP_LOG_ERROR("majorVersion is NULL");
  }
  const bool hasMinor = readVersion(version, "minor", m_minorVersion);
  if (!hasMinor) {
    KELP_LOG_ERROR("minorVersion is NULL");
  }
  return hasMajor && hasMinor;
}

bool AppPrefList::loadItems(json_object* root, bool isDefaultFile) {
  json_object* const array = json_object_object_get(root, "preference");
  if (!json_object_is_type(array, json_type_array)) {
    KELP_LOG_ERROR("AppPrefList is NULL or format error");
    return false;
  }
  const int count = static_cast<int>(json_object_array_length(array));
  std::unordered_set<std::string_view> names;  // of the items in the list
  for (int i = 0; i < count; ++i) {
    std::unique_ptr<AppPref> pref(decompose(json_object_array_get_idx(array, static_cast<size_t>(i)), isDefaultFile));
    if (pref == nullptr) {
      KELP_LOG_ERROR("ERROR:decompose error. %d/%d", i, count);
      return false;
    }
    if (pref->hasError()) {
      KELP_LOG_ERROR("PREFERROR. %d/%d", i, count);
      return false;
    }
    if (!names.insert(pref->m_prefName).second) {
      KELP_LOG_ERROR("PREFERROR. same prefName %d/%d", i, count);
      return false;
    }
    m_prefList.push_back(pref.release());
  }
  return true;
}

AppPref* AppPrefList::decompose(json_object* item, bool isDefaultFile) const {
  std::string name;
  std::string typeText;
  if (!readText(item, "prefName", name) || !readText(item, "prefType", typeText)) {
    return nullptr;
  }
  if (name.empty()) {
    KELP_LOG_ERROR("prefName = %s", name.c_str());
    return nullptr;
  }
  ApiAccessType appAccess;
  ApiAccessType webAccess;
  if (!readAccess(item, "appApiAccess", appAccess) || appAccess == ApiAccessType_None ||
      !readAccess(item, "webApiAccess", webAccess)) {
    return nullptr;
  }
  std::string defaultValue;
  std::string value;
  if (!readText(item, "defaultValue", defaultValue) || (!isDefaultFile && !readText(item, "value", value))) {
    return nullptr;
  }
  std::vector<std::string> elements;
  if (typeText == "Enumeration" && !readTexts(item, "enumerationList", elements)) {
    return nullptr;
  }
  return AppPrefFactory::createAppPref(name, typeText, elements, defaultValue, appAccess, webAccess,
                                       isDefaultFile ? defaultValue : value);
}

bool AppPrefList::hasError() const {
  return m_error;
}

const std::list<AppPref*>& AppPrefList::getPrefList() const {
  return m_prefList;
}

int AppPrefList::getFuncId() const {
  return m_funcId;
}

std::string AppPrefList::getMajorPrefVersion() const {
  return m_majorVersion;
}

std::string AppPrefList::getMinorPrefVersion() const {
  return m_minorVersion;
}

AppPref* AppPrefList::getAppPref(const std::string& name) const {
  for (AppPref* pref : m_prefList) {
    if (pref->m_prefName == name) {
      return pref;
    }
  }
  return nullptr;
}

template <typename Pref>
Pref* AppPrefList::findPref(const std::string& name, AppPrefType prefType) const {
  AppPref* const pref = getAppPref(name);
  return pref != nullptr && pref->getPrefType() == prefType ? static_cast<Pref*>(pref) : nullptr;
}

AppPrefBoolean* AppPrefList::getAppPrefBoolean(const std::string& name) const {
  return findPref<AppPrefBoolean>(name, AppPrefType_Boolean);
}

AppPrefInteger* AppPrefList::getAppPrefInteger(const std::string& name) const {
  return findPref<AppPrefInteger>(name, AppPrefType_Integer);
}

AppPrefString* AppPrefList::getAppPrefString(const std::string& name) const {
  return findPref<AppPrefString>(name, AppPrefType_String);
}

AppPrefEnumeration* AppPrefList::getAppPrefEnumeration(const std::string& name) const {
  return findPref<AppPrefEnumeration>(name, AppPrefType_Enumeration);
}

AppPrefBinary* AppPrefList::getAppPrefBinary(const std::string& name) const {
  return findPref<AppPrefBinary>(name, AppPrefType_Binary);
}

CommonReturnCode_t AppPrefList::setBoolean(const std::string& name, bool value) {
  AppPrefBoolean* const pref = getAppPrefBoolean(name);
  if (pref == nullptr) {
    return CommonReturnCode_InvalidParameter;
  }
  if (pref->getAppApiAccess() != ApiAccessType_ReadWrite) {
    KELP_LOG_ERROR("###ERROR###");
    return CommonReturnCode_InvalidProtocol;
  }
  pref->setValue(value);
  return CommonReturnCode_Ok;
}

CommonReturnCode_t AppPrefList::setInteger(const std::string& name, long long value) {
  AppPrefInteger* const pref = getAppPrefInteger(name);
  if (pref == nullptr) {
    return CommonReturnCode_InvalidParameter;
  }
  if (pref->getAppApiAccess() != ApiAccessType_ReadWrite) {
    KELP_LOG_ERROR("###ERROR###");
    return CommonReturnCode_InvalidProtocol;
  }
  pref->setValue(value);
  return CommonReturnCode_Ok;
}

CommonReturnCode_t AppPrefList::setString(const std::string& name, const std::string& value) {
  AppPrefString* const pref = getAppPrefString(name);
  if (pref == nullptr) {
    return CommonReturnCode_InvalidParameter;
  }
  if (pref->getAppApiAccess() != ApiAccessType_ReadWrite) {
    KELP_LOG_ERROR("###ERROR###");
    return CommonReturnCode_InvalidProtocol;
  }
  if (value.size() > kMaxStringSize) {
    return CommonReturnCode_NotEnoughMemory;
  }
  pref->setValue(value);
  return CommonReturnCode_Ok;
}

CommonReturnCode_t AppPrefList::setEnumeration(const std::string& name, int index) {
  AppPrefEnumeration* const pref = getAppPrefEnumeration(name);
  if (pref == nullptr) {
    return CommonReturnCode_InvalidParameter;
  }
  if (pref->getAppApiAccess() != ApiAccessType_ReadWrite) {
    KELP_LOG_ERROR("###ERROR###");
    return CommonReturnCode_InvalidProtocol;
  }
  if (index < 0 || static_cast<size_t>(index) >= pref->getEnumerationArray().size()) {
    return CommonReturnCode_NotEnoughMemory;
  }
  pref->setValue(index);
  if (pref->hasError()) {
    KELP_LOG_ERROR("hasError SET PREF ERROR.");
    return CommonReturnCode_NotEnoughMemory;
  }
  return CommonReturnCode_Ok;
}

CommonReturnCode_t AppPrefList::setBinary(const std::string& name, const std::string& value) {
  AppPrefBinary* const pref = getAppPrefBinary(name);
  if (pref == nullptr) {
    return CommonReturnCode_InvalidParameter;
  }
  if (pref->getAppApiAccess() != ApiAccessType_ReadWrite) {
    KELP_LOG_ERROR("###ERROR###");
    return CommonReturnCode_InvalidProtocol;
  }
  pref->setValue(value);
  return CommonReturnCode_Ok;
}

CommonReturnCode_t AppPrefList::setValue(const std::string& name, const std::string& valueText,
                                         const std::string& typeText) {
  AppPref* const pref = getAppPref(name);
  if (pref == nullptr || typeText != AppPref::getPrefTypeString(pref->getPrefType())) {
    return CommonReturnCode_InvalidParameter;
  }
  if (pref->getWebApiAccess() != ApiAccessType_ReadWrite) {
    KELP_LOG_ERROR("###ERROR###");
    return CommonReturnCode_PermissionDenied;
  }
  if (valueText == pref->getValueByString()) {
    return CommonReturnCode_InvalidApplicationPreference;
  }
  return pref->setValueByString(valueText);
}

CommonReturnCode_t AppPrefList::restoreValue(const std::string& name, const std::string& valueText,
                                             const std::string& /*typeText*/) {
  AppPref* const pref = getAppPref(name);
  return pref == nullptr ? CommonReturnCode_InvalidParameter : pref->setValueByString(valueText);
}

CommonReturnCode_t AppPrefList::writeFile(const std::string& path) const {
  std::string text;
  if (!makePrefFileText(m_funcId, m_majorVersion, m_minorVersion, m_prefList, text) || text.size() > kMaxFileSize) {
    return CommonReturnCode_NotEnoughMemory;
  }
  const std::string temporaryPath = path + "~";
  FileOperator file(temporaryPath, false);
  if (file.open(O_WRONLY | O_CREAT | O_TRUNC, kFileMode) != 0) {
    return CommonReturnCode_IoError;
  }
  if (!writeAndClose(file, text)) {
    KELP_LOG_ERROR("Can't write PrefFile %s", temporaryPath.c_str());
    SysFunc::kelpRm(temporaryPath);
    return CommonReturnCode_IoError;
  }
  sync();
  if (SysFunc::kelpRename(temporaryPath, path) != CommonReturnCode_Ok) {
    KELP_LOG_ERROR("Can't rename PrefFile %s~", temporaryPath.c_str());
    SysFunc::kelpRm(temporaryPath);
    return CommonReturnCode_FileAccessError;
  }
  const CommonReturnCode_t result = SysFunc::kelpChmod(path, kFileMode);
  if (result != CommonReturnCode_Ok) {
    KELP_LOG_ERROR("Can't chmod prefFile %s", temporaryPath.c_str());
  }
  sync();
  return result;
}

bool AppPrefList::getAppPrefJsonStringForCRC(std::string& text) const {
  return makePrefFileText(m_funcId, m_majorVersion, m_minorVersion, m_prefList, text);
}

bool AppPrefList::hasSamePref(const AppPref* other) const {
  const AppPref* const own = findSame(other);
  if (own == nullptr || own->getPrefType() != AppPrefType_Enumeration) {
    return own != nullptr;
  }
  const std::vector<std::string>& elements = static_cast<const AppPrefEnumeration*>(own)->getEnumerationArray();
  return std::find(elements.begin(), elements.end(), other->getValueByString()) != elements.end();
}

bool AppPrefList::hasSamePrefAll(const AppPref* other) const {
  const AppPref* const own = findSame(other);
  if (own == nullptr || own->getDefaultValue() != other->getDefaultValue() ||
      own->getAppApiAccess() != other->getAppApiAccess() || own->getWebApiAccess() != other->getWebApiAccess()) {
    return false;
  }
  return own->getPrefType() != AppPrefType_Enumeration ||
         static_cast<const AppPrefEnumeration*>(own)->getEnumerationArray() ==
             static_cast<const AppPrefEnumeration*>(other)->getEnumerationArray();
}

void AppPrefList::setDefaultValue(std::vector<std::string>* changed) {
  for (AppPref* pref : m_prefList) {
    if (pref->getValueByString() == pref->getDefaultValue()) {
      continue;
    }
    if (changed != nullptr) {
      changed->push_back(pref->getPrefName());
    }
    pref->setDefaultValue();
  }
}

CommonReturnCode_t AppPrefList::AppPrefRestore(const std::string& path, std::vector<std::string>* changed) {
  SavedPrefFile saved;
  if (!saved.read(path, *this)) {
    return CommonReturnCode_InvalidApplicationPreference;
  }
  if (saved.getMajorVersion() != m_majorVersion) {
    KELP_LOG_ERROR("Major Version ERROR");
    return CommonReturnCode_InvalidApplicationPreference;
  }
  const CommonReturnCode_t result =
      saved.getMinorVersion() == m_minorVersion ? carryOverAll(saved, changed) : carryOverSame(saved, changed);
  // The values are restored whether the file can be written or not. A text that is too long, or that there is no memory
  // for, leaves no line of its own.
  if (result == CommonReturnCode_Ok && writeFile(m_path) == CommonReturnCode_NotEnoughMemory) {
    KELP_LOG_ERROR("###ERROR###");
  }
  return result;
}

CommonReturnCode_t AppPrefList::carryOverAll(const SavedPrefFile& saved, std::vector<std::string>* changed) {
  if (saved.getPrefs().size() != m_prefList.size()) {
    return CommonReturnCode_InvalidApplicationPreference;
  }
  CommonReturnCode_t result = CommonReturnCode_Ok;
  for (const AppPref* pref : saved.getPrefs()) {
    if (!hasSamePrefAll(pref)) {
      KELP_LOG_ERROR("ERROR:Minor Version is same but different parameters");
      return CommonReturnCode_InvalidApplicationPreference;
    }
    result = carryOver(*pref, changed);
    if (result != CommonReturnCode_Ok) {
      break;
    }
  }
  return result;
}

CommonReturnCode_t AppPrefList::carryOverSame(const SavedPrefFile& saved, std::vector<std::string>* changed) {
  CommonReturnCode_t result = CommonReturnCode_Ok;
  for (const AppPref* pref : saved.getPrefs()) {
    if (hasSamePref(pref)) {
      result = carryOver(*pref, changed);
    }
    if (result != CommonReturnCode_Ok) {
      break;
    }
  }
  return result;
}

CommonReturnCode_t AppPrefList::carryOver(const AppPref& saved, std::vector<std::string>* changed) {
  const std::string oldText = getAppPref(saved.getPrefName())->getValueByString();
  const std::string savedText = saved.getValueByString();
  const CommonReturnCode_t result =
      restoreValue(saved.getPrefName(), savedText, AppPref::getPrefTypeString(saved.getPrefType()));
  if (result == CommonReturnCode_Ok && oldText != savedText && changed != nullptr) {
    changed->push_back(saved.getPrefName());
  }
  return result;
}

// The list's item of the same name and type, or null. `other` may be null.
const AppPref* AppPrefList::findSame(const AppPref* other) const {
  const AppPref* const own = other == nullptr ? nullptr : getAppPref(other->getPrefName());
  return own != nullptr && own->getPrefType() == other->getPrefType() ? own : nullptr;
}

}  // namespace Kelp
