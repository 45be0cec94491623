// A typed, named preference of an application: its name, type, default, current value and who may use it.
//
// The value is held as the exact text that the preference file stores; the classes derived from it, one to a type, add
// the typed form. An item never refuses construction: bad input sets its error flag, for good, and the item stays
// usable.
//
// Threads: no locks; a list of items is used by one thread at a time.
#ifndef KELP_PREF_APP_PREF_H
#define KELP_PREF_APP_PREF_H

#include <string>

#include "KelpExport.h"
#include "KelpReturnCode.h"

namespace Kelp {

enum AppPrefType : int {
  AppPrefType_Boolean = 0,
  AppPrefType_Integer = 1,
  AppPrefType_String = 2,
  AppPrefType_Enumeration = 3,
  AppPrefType_Binary = 4,
};

// What one of the two sides, the application or the web API, may do with a preference.
enum ApiAccessType : int {
  ApiAccessType_ReadWrite = 0,
  ApiAccessType_Read = 1,
  ApiAccessType_None = 2,
};

class KELP_EXPORT AppPref {
 public:
  // Copies all texts; the default is not checked. A name of more than 1024 bytes, or a value of more than that in an
  // item that is not Binary, sets the error flag. A Binary value is cut to 43692 characters, the Base64 form of 32 KiB.
  AppPref(const std::string& prefName, AppPrefType prefType, const std::string& defaultValue,
          ApiAccessType appApiAccess, ApiAccessType webApiAccess, const std::string& value);
  virtual ~AppPref();
  AppPref& operator=(const AppPref&) = delete;

  // Makes the default the current value.
  virtual void setDefaultValue() = 0;

  // Takes a value that comes as text. Returns 0 (OK), or another code when the text is none for the item's type; see
  // the derived classes. What is refused leaves the item as it was, without the error flag.
  virtual CommonReturnCode_t setValueByString(const std::string& text) = 0;

  // The item as a block of lines, each but the first and the last indented by one tab more than `indent`; no newline
  // at the end. Texts go in as they are: one that holds a double quote or a backslash gives a block that is not JSON.
  virtual std::string makeJsonString(const std::string& indent) const;

  // A new item of the same class with the same fields, the error flag included. The caller owns it.
  virtual AppPref* clone() const = 0;

  std::string getPrefName() const;
  AppPrefType getPrefType() const;
  std::string getDefaultValue() const;
  ApiAccessType getAppApiAccess() const;
  ApiAccessType getWebApiAccess() const;

  // The current value as text, or "" when the item is in error.
  std::string getValueByString() const;

  bool hasError() const;

  // Marks the item as in error, after one error line. There is no way back.
  void setError();

  // "Boolean", "Integer", "String", "Enumeration" or "Binary"; any other type is a programming error and ends the
  // process. Can be called on any thread.
  static std::string getPrefTypeString(AppPrefType prefType);

  // Whether `text` has at most 1024 bytes. Can be called on any thread.
  static bool isValidString(const std::string& text);

 protected:
  AppPref(const AppPref& other);

  // Stores the text, also when it is too long; then, in an item that is not Binary, a text of more than 1024 bytes
  // sets the error flag.
  void setValueString(const std::string& text);

  // Stores a text without looking at its length.
  void assignValue(const std::string& text);

  // The current value as text, also when the item is in error.
  const std::string& getStoredValue() const;

 private:
  friend class AppPrefList;  // compares names without copying them

  std::string m_prefName;  // unique within its list; never changes, like the four members that follow
  AppPrefType m_prefType;
  std::string m_defaultValue;
  ApiAccessType m_appApiAccess;  // what the application may do through the library
  ApiAccessType m_webApiAccess;  // what the web API may do
  std::string m_value;
  bool m_error;
};

}  // namespace Kelp

#endif  // KELP_PREF_APP_PREF_H
