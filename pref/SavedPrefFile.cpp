#include "pref/SavedPrefFile.h"

#include <fcntl.h>
#include <json-c/json.h>
#include <limits.h>

#include "AppPref.h"
#include "AppPrefList.h"
#include "FileOperator.h"
#include "crcCalculator.h"
#include "foundation/Diagnostics.h"
#include "pref/PrefFile.h"

namespace Kelp {

namespace {

constexpr int kAnyBase = 0;  // as the text says: 0x for 16, 0 for 8, else 10
constexpr int kDecimal = 10;
constexpr int kHexadecimal = 16;

JsonOwner readRoot(const std::string& path) {
  FileOperator file(path, false);
  if (file.open(O_RDONLY, 0) != 0) {
    KELP_LOG_ERROR("File Open Error(%s)", path.c_str());
    return nullptr;
  }
  bool isRead = false;
  JsonOwner root = readJson(file, file.size(), isRead);
  if (!isRead) {
    KELP_LOG_ERROR("###ERROR###");
  } else if (root == nullptr) {
    KELP_LOG_ERROR("Invalid AppPrefFile Format");
  }
  return root;
}

}  // namespace

SavedPrefFile::~SavedPrefFile() {
  for (const AppPref* pref : m_prefs) {
    delete pref;
  }
}

bool SavedPrefFile::read(const std::string& path, const AppPrefList& list) {
  const JsonOwner root = readRoot(path);
  return root != nullptr && readCrc(root.get()) && readFuncId(root.get(), list) && readVersion(root.get()) &&
         readItems(root.get(), list) && checkCrc();
}

bool SavedPrefFile::readCrc(json_object* root) {
  std::string text;
  if (!readText(root, "appPreferenceCrc", text)) {
    KELP_LOG_ERROR("CRC is NULL");
    return false;
  }
  KELP_LOG_TRACE("appPreferenceCrc: %s", text.c_str());
  if (!toNumber(text, kAnyBase, m_crc)) {
    KELP_LOG_ERROR("appPreferenceCrc is not integer");
    return false;
  }
  return true;
}

bool SavedPrefFile::readFuncId(json_object* root, const AppPrefList& list) {
  std::string text;
  if (!readText(root, "funcId", text)) {
    KELP_LOG_ERROR("FuncId is NULL");
    return false;
  }
  KELP_LOG_TRACE("funcId: %s", text.c_str());
  long long number = 0;
  if (!toNumber(text, kHexadecimal, number)) {
    KELP_LOG_ERROR("FuncId is not integer");
    return false;
  }
  if (!toFuncId(text, m_funcId) || m_funcId != list.getFuncId()) {  // one of more than 32 bits is no list's
    KELP_LOG_ERROR("FuncId is not different");                      // it is; log readers know the text
    return false;
  }
  return true;
}

bool SavedPrefFile::readVersion(json_object* root) {
  json_object* const version = json_object_object_get(root, "preferenceVersion");
  if (!json_object_is_type(version, json_type_object)) {
    KELP_LOG_ERROR("preferenceVersion is NULL");
    return false;
  }
  long long number = 0;
  if (!readText(version, "major", m_majorVersion) || m_majorVersion.empty()) {
    KELP_LOG_ERROR("majorVersion is NULL");
    return false;
  }
  if (!toNumber(m_majorVersion, kDecimal, number)) {
    KELP_LOG_ERROR("majorVersion is not integer");
    return false;
  }
  if (!readText(version, "minor", m_minorVersion) || m_minorVersion.empty()) {
    KELP_LOG_ERROR("minorVersion is NULL");
    return false;
  }
  if (!toNumber(m_minorVersion, kDecimal, number)) {
    KELP_LOG_ERROR("majorVersion is not integer");  // one text for both versions
    return false;
  }
  return true;
}

bool SavedPrefFile::readItems(json_object* root, const AppPrefList& list) {
  json_object* const array = json_object_object_get(root, "preference");
  if (!json_object_is_type(array, json_type_array)) {
    KELP_LOG_ERROR("AppPrefList is NULL");
    return false;
  }
  const size_t count = json_object_array_length(array);
  for (size_t i = 0; i < count; ++i) {
    AppPref* const pref = list.decompose(json_object_array_get_idx(array, i), false);
    if (pref == nullptr) {
      KELP_LOG_ERROR("ERROR:decompose error.");
      return false;
    }
    m_prefs.push_back(pref);
  }
  return true;
}

// The checksum is that of the file's own contents in the canonical form, not of its bytes. One that has no 16 bits is
// nobody's.
bool SavedPrefFile::checkCrc() const {
  std::string text;
  if (makePrefFileText(m_funcId, m_majorVersion, m_minorVersion, m_prefs, text) && m_crc >= 0 && m_crc <= USHRT_MAX &&
      crcCalculator::checkCRC(reinterpret_cast<const unsigned char*>(text.data()), text.size(),
                              static_cast<unsigned short>(m_crc))) {
    return true;
  }
  KELP_LOG_ERROR("CRC ERROR");
  return false;
}

}  // namespace Kelp
