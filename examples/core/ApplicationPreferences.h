// One application's preferences as the core holds them: the list in memory is always what is on disk.
//
// Threads: the core's loop only.
#ifndef KELP_EXAMPLES_CORE_APPLICATION_PREFERENCES_H
#define KELP_EXAMPLES_CORE_APPLICATION_PREFERENCES_H

#include <string>

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

  // All preferences that the web API may see.
  void describe(Record& record) const;

 private:
  Kelp::CommonReturnCode_t save(const Kelp::AppPrefList& changed);

  const std::string m_path;
  Kelp::AppPrefList m_list;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_CORE_APPLICATION_PREFERENCES_H
