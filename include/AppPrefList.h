// The preferences of one application, loaded from and saved to one JSON file.
//
// Two kinds of file are read: the default file that an application package ships, and the file kept on the device with
// the user's values. The application uses its items through the typed operations, the web API through setValue(); a
// setter changes the item only, writing the file is its caller's business.
//
// Threads: no locks; one list, with its items, is used by one thread at a time. Other processes never see a file that
// is half written.
#ifndef KELP_PREF_APP_PREF_LIST_H
#define KELP_PREF_APP_PREF_LIST_H

#include <list>
#include <string>
#include <vector>

#include "AppPref.h"
#include "KelpExport.h"
#include "KelpReturnCode.h"

struct json_object;

namespace Kelp {

class AppPrefBinary;
class AppPrefBoolean;
class AppPrefEnumeration;
class AppPrefInteger;
class AppPrefString;
class SavedPrefFile;

class KELP_EXPORT AppPrefList {
 public:
  // Loads the file: at most 131072 bytes, or 65536 when `isDefaultFile`. A default file's items need no "value", their
  // default is their value, and its "funcId" has to be `expectedFuncId`, which a device file's is not compared with.
  // Whatever is wrong with the file leaves an error line and makes hasError() true; the items before the one that was
  // wrong are in the list. Blocks while the file is read.
  AppPrefList(const std::string& path, bool isDefaultFile, int expectedFuncId);

  // Deep: each item is cloned.
  AppPrefList(const AppPrefList& other);
  AppPrefList& operator=(const AppPrefList& other);

  ~AppPrefList();  // deletes the items

  // Whether loading failed in any way. To be asked before the list is used.
  bool hasError() const;

  // The items in the file's order. They belong to the list.
  const std::list<AppPref*>& getPrefList() const;

  int getFuncId() const;  // the application's function identifier
  std::string getMajorPrefVersion() const;
  std::string getMinorPrefVersion() const;

  // The item with exactly this name, or null. It belongs to the list.
  AppPref* getAppPref(const std::string& name) const;

  // The same for items of one type: null also when the item has another one.
  AppPrefBoolean* getAppPrefBoolean(const std::string& name) const;
  AppPrefInteger* getAppPrefInteger(const std::string& name) const;
  AppPrefString* getAppPrefString(const std::string& name) const;
  AppPrefEnumeration* getAppPrefEnumeration(const std::string& name) const;
  AppPrefBinary* getAppPrefBinary(const std::string& name) const;

  // The application's setters. Each returns 0 (OK), 1 (Invalid Parameter) when there is no item of that name and type,
  // or 10 (Invalid Protocol), after an error line, when the application may not write it.
  CommonReturnCode_t setBoolean(const std::string& name, bool value);
  CommonReturnCode_t setInteger(const std::string& name, long long value);
  // Also 16 (Not Enough Memory) for 1024 bytes or more.
  CommonReturnCode_t setString(const std::string& name, const std::string& value);
  // Also 16 (Not Enough Memory) for an index outside the item's list, and, after an error line, for an item in error.
  CommonReturnCode_t setEnumeration(const std::string& name, int index);
  CommonReturnCode_t setBinary(const std::string& name, const std::string& value);

  // The web API's setter. Returns 0 (OK), 1 (Invalid Parameter) when there is no item of that name and type text,
  // 11 (Permission denied), after an error line, when the web API may not write it, 22 (Invalid Application
  // Preference) when the item already has this value, or what the item's setValueByString() returns.
  CommonReturnCode_t setValue(const std::string& name, const std::string& valueText, const std::string& typeText);

  // Puts a saved value back: access and type text are not looked at. Returns 1 (Invalid Parameter) when there is no
  // such item, else what its setValueByString() returns.
  CommonReturnCode_t restoreValue(const std::string& name, const std::string& valueText, const std::string& typeText);

  // Writes the list to `path`, by way of a temporary file at `path` with "~" behind it: whatever happens, there is
  // the whole old or the whole new file at `path`. A text that holds a NUL byte is written up to it. Blocks until the
  // disks have the file. Returns
  //   0 (OK);
  //   16 (Not Enough Memory) when the text has more than 131072 bytes or cannot be made; nothing is written;
  //   15 (I/O error) when the temporary file cannot be opened or written; the old file stays;
  //   14 (File Access Error) when it cannot be renamed; the old file stays;
  //   15 (I/O error) when the new file, which is in place, cannot be given mode 0777.
  // What fails after the opening leaves an error line; a temporary file that was not renamed is removed.
  CommonReturnCode_t writeFile(const std::string& path) const;

  // The canonical text that a saved file's checksum is over: exactly what writeFile() would write. False when memory is
  // out.
  bool getAppPrefJsonStringForCRC(std::string& text) const;

  // Whether the list has an item of the same name and type, for which an enumeration's value is possible.
  // `other` may be null: false.
  bool hasSamePref(const AppPref* other) const;

  // Whether the list has an item that is the same but for its value. `other` may be null: false.
  bool hasSamePrefAll(const AppPref* other) const;

  // Puts every item back to its default, and appends the names of those that were not there yet to `changed`, which
  // may be null. Writes no file.
  void setDefaultValue(std::vector<std::string>* changed);

  // Carries the values of a saved file over into this list, writes the list to its own file, and appends the names of
  // the items whose values changed to `changed`, which may be null. The saved file has to be intact
  // ("appPreferenceCrc"), of the same application and of the same major version. With the same minor version its items
  // have to be this list's in all but their values; with another one, the values that still have a place here are
  // taken. Access is not looked at. Blocks until the disks have the list's file. Returns
  //   0 (OK), also when the list's file could not be written, which leaves an error line;
  //   22 (Invalid Application Preference) when the saved file is refused, after an error line unless only the number
  //   of items differs;
  //   or what an item's setValueByString() returned when it refused its value.
  // Unless it is 0, no file is written; in the last case, and when an item of the same minor version differs, values
  // before that item's stay changed in the list.
  CommonReturnCode_t AppPrefRestore(const std::string& path, std::vector<std::string>* changed);

  // A new item, which the caller owns, built from one object of a file's "preference" array, or null when something is
  // missing or unknown. `item` may be null and stays the caller's. A value that does not fit gives an item in error.
  AppPref* decompose(json_object* item, bool isDefaultFile) const;

 private:
  // Each step of loading logs what is wrong and then returns false.
  KELP_LOCAL bool load(bool isDefaultFile, int expectedFuncId);
  KELP_LOCAL bool loadFuncId(json_object* root, bool isDefaultFile, int expectedFuncId);
  KELP_LOCAL bool loadVersion(json_object* root);
  KELP_LOCAL bool loadItems(json_object* root, bool isDefaultFile);

  // How the values of a saved file of the same and of another minor version come into the list, and one of them.
  KELP_LOCAL CommonReturnCode_t carryOverAll(const SavedPrefFile& saved, std::vector<std::string>* changed);
  KELP_LOCAL CommonReturnCode_t carryOverSame(const SavedPrefFile& saved, std::vector<std::string>* changed);
  KELP_LOCAL CommonReturnCode_t carryOver(const AppPref& saved, std::vector<std::string>* changed);

  KELP_LOCAL const AppPref* findSame(const AppPref* other) const;

  template <typename Pref>
  Pref* findPref(const std::string& name, AppPrefType prefType) const;

  std::string m_path;  // what it was loaded from
  bool m_error;
  std::list<AppPref*> m_prefList;  // owned
  int m_funcId;
  std::string m_majorVersion;
  std::string m_minorVersion;
};

}  // namespace Kelp

#endif  // KELP_PREF_APP_PREF_LIST_H
