// Preference files for tests: where they lie, and the JSON that they hold.
#ifndef KELP_TESTS_PREF_PREF_FILES_H
#define KELP_TESTS_PREF_PREF_FILES_H

#include <string>
#include <vector>

namespace KelpTest {

constexpr char kPrefPath[] = "/tmp/appPrefs.json";

// An item object with all keys, `more` (", \"key\": ...") before its end.
std::string itemJson(const std::string& name, const std::string& type, const std::string& defaultValue,
                     const std::string& value, const std::string& more = "");

// A whole file, "funcId" 0000A012, version 1.2, with these item objects.
std::string fileJson(const std::vector<std::string>& items);

// A file with an item of each type, named boolean, integer, string, enumeration and binary.
std::string allTypesJson(const std::string& more = "");

// The same file as AppPrefList writes it.
extern const char kAllTypesWritten[];

// The example of a file in the documentation, as AppPrefList writes it too.
extern const char kDocumentedExample[];

}  // namespace KelpTest

#endif  // KELP_TESTS_PREF_PREF_FILES_H
