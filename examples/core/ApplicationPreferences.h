// One application's preferences as the core holds them: the list in memory is always what is on disk.
//
// Threads: the core's loop only.
#ifndef KELP_EXAMPLES_CORE_APPLICATION_PREFERENCES_H
#define KELP_EXAMPLES_CORE_APPLICATION_PREFERENCES_H

#include <string>
#include <vector>

#include "AppPrefList.h"
#include "KelpReturnCode.h"
#include "common/Record.h"

namespace KelpExample {

class ApplicationPreferences {
 public:
  explicit ApplicationPreferences(const std::string& path);

  // Whether the file could be read whole; nothing below succeeds otherwise.
  bool isValid() const;

  // Sets a preference by the web API's rules for access and type, and writes the file. Returns 0, or why it was
  // refused: 1 no such preference, type or value; 11 not writable from the web; 22 it has this value already, or the
  // file was not valid; 14 to 16 the file could not be written.
  Kelp::CommonReturnCode_t set(const std::string& prefName, const std::string& value, const std::string& typeText);

  // Puts every preference back to its default, whoever may write it, and writes the file. Returns as set().
  Kelp::CommonReturnCode_t setDefaults();

  // Writes a copy to `filePath`, under a checksum that restoreFrom() demands. The copy replaces one of before only when
  // it is whole and on disk. Returns 0; 22 when the own file was not valid; 14 to 16 when the copy cannot be written.
  Kelp::CommonReturnCode_t saveTo(const std::string& filePath) const;

  // Takes the values of such a copy over, and writes the file. `changed` gets the names of the preferences that had
  // other values. Returns 0, or what left everything as it was: 22 the copy is missing, damaged, of another application
  // or of another version, or the own file was not valid; 15 the own file could not be written.
  Kelp::CommonReturnCode_t restoreFrom(const std::string& filePath, std::vector<std::string>& changed);

  // All preferences that the web API may see.
  void describe(Record& record) const;

  int getFuncId() const;
  std::string getVersion() const;  // "1.0"; empty while the file is not valid

 private:
  Kelp::CommonReturnCode_t save(const Kelp::AppPrefList& changed);

  const std::string m_path;
  Kelp::AppPrefList m_list;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_CORE_APPLICATION_PREFERENCES_H
