// A second opinion on preferences: items, files and restores as plain records and functions, each rule written out once
// more, with json-c and the C library alone.
#ifndef KELP_FUZZ_PREF_REFERENCE_H
#define KELP_FUZZ_PREF_REFERENCE_H

#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

namespace KelpFuzz {

struct PrefItem {
  std::string name;
  std::string type;                   // the type's text
  std::vector<std::string> elements;  // of an enumeration
  std::string defaultValue;
  int appAccess;  // 0 ReadWrite, 1 Read, 2 None; so too the next
  int webAccess;
  std::string value;  // as it is stored
  bool hasError = false;
  bool flag = false;     // of a Boolean
  long long number = 0;  // of an Integer
  int index = -1;        // of an Enumeration

  std::string shownValue() const { return hasError ? std::string() : value; }
};

// Nothing when there is no such type.
std::optional<PrefItem> makePref(const std::string& name, const std::string& type,
                                 const std::vector<std::string>& elements, const std::string& defaultValue,
                                 int appAccess, int webAccess, const std::string& value);

// The result code of AppPref::setValueByString().
int setPrefByText(PrefItem& item, const std::string& text);
void setPrefDefault(PrefItem& item);

// The typed setters; a String's and a Binary's takes a text.
void setPrefFlag(PrefItem& item, bool flag);
void setPrefNumber(PrefItem& item, long long number);
void setPrefText(PrefItem& item, const std::string& text);
void setPrefIndex(PrefItem& item, int index);

// AppPref::makeJsonString()
std::string prefBlock(const PrefItem& item, const std::string& indent);

struct PrefContents {
  bool hasError = false;
  int funcId = 0;
  std::string majorVersion;
  std::string minorVersion;
  std::vector<PrefItem> items;
};

// What AppPrefList loads from a file of that text.
PrefContents loadPrefs(const std::string& text, bool isDefaultFile, int expectedFuncId);

std::vector<std::string> setPrefsDefault(PrefContents& contents);

// The text of the file, which the checksum is over, and the checksum.
std::string canonicalText(const PrefContents& contents);
uint16_t checksumOf(const std::string& text);

// The saved file's text with the checksum that its contents need. As it came when it is nothing that has one.
std::string withChecksum(const std::string& savedText);

struct RestoreOutcome {
  int result;
  std::vector<std::string> changed;
};

// AppPrefList::AppPrefRestore(), but for the file that it writes.
RestoreOutcome restorePrefs(PrefContents& contents, const std::string& savedText);

}  // namespace KelpFuzz

#endif  // KELP_FUZZ_PREF_REFERENCE_H
