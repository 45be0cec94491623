// The preference file's bytes and JSON, shared by all that reads or makes one. Logs nothing: who reads a file knows
// what its failure is called.
//
// Threads: stateless.
#ifndef KELP_PREF_PREF_FILE_H
#define KELP_PREF_PREF_FILE_H

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "AppPref.h"

struct json_object;

namespace Kelp {

class FileOperator;

struct JsonRelease {
  void operator()(json_object* object) const;
};
using JsonOwner = std::unique_ptr<json_object, JsonRelease>;

// Reads the open file from where it stands, `size` bytes, and parses it. `isRead` tells whether all of the bytes came;
// null when they did not or are not JSON.
JsonOwner readJson(const FileOperator& file, long long size, bool& isRead);

// The text of the value under `key`: a number or a boolean counts with its string form, an escaped NUL ends it. False
// when there is none: key missing, null, or an object or an array instead. `object` may be null.
bool readText(json_object* object, const char* key, std::string& text);

// Numbers in texts: the whole text is one, and not out of range. `base` as for strtoll.
bool toNumber(const std::string& text, int base, long long& number);

// The function identifier has 32 bits, which the file shows in hexadecimal without a sign: FFFFFFFF is -1. More bits
// than that are refused: cut, they could be another application's.
bool toFuncId(const std::string& text, int& funcId);

// The access under `key`: ReadWrite where there is no text, the cases of readText(). False for any other text than the
// three.
bool readAccess(json_object* object, const char* key, ApiAccessType& access);

// The array of texts under `key`. False when there is none, or an element is no text.
bool readTexts(json_object* object, const char* key, std::vector<std::string>& texts);

// The text of a whole preference file, the only form in which one is written. False when memory is out.
bool makePrefFileText(int funcId, const std::string& majorVersion, const std::string& minorVersion,
                      const std::list<AppPref*>& prefs, std::string& text);

}  // namespace Kelp

#endif  // KELP_PREF_PREF_FILE_H
