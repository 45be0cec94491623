// A saved preference file: what a preference file holds, and a checksum over it.
#ifndef KELP_PREF_SAVED_PREF_FILE_H
#define KELP_PREF_SAVED_PREF_FILE_H

#include <list>
#include <string>

struct json_object;

namespace Kelp {

class AppPref;
class AppPrefList;

// Reads one such file and examines it. One use: build, read(), look at the contents.
class SavedPrefFile {
 public:
  SavedPrefFile() = default;
  ~SavedPrefFile();
  SavedPrefFile(const SavedPrefFile&) = delete;
  SavedPrefFile& operator=(const SavedPrefFile&) = delete;

  // False, after one error line, when the file is damaged, is no saved file, or belongs to another application than
  // the list, which also says how an item is built.
  bool read(const std::string& path, const AppPrefList& list);

  const std::string& getMajorVersion() const { return m_majorVersion; }
  const std::string& getMinorVersion() const { return m_minorVersion; }
  const std::list<AppPref*>& getPrefs() const { return m_prefs; }  // in the file's order

 private:
  bool readCrc(json_object* root);
  bool readFuncId(json_object* root, const AppPrefList& list);
  bool readVersion(json_object* root);
  bool readItems(json_object* root, const AppPrefList& list);
  bool checkCrc() const;

  long long m_crc = 0;  // as the file says it
  int m_funcId = 0;
  std::string m_majorVersion;
  std::string m_minorVersion;
  std::list<AppPref*> m_prefs;  // owned
};

}  // namespace Kelp

#endif  // KELP_PREF_SAVED_PREF_FILE_H
