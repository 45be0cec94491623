// A preference that is a text.
//
// Threads: as AppPref.
#ifndef KELP_PREF_APP_PREF_STRING_H
#define KELP_PREF_APP_PREF_STRING_H

#include <string>

#include "AppPref.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT AppPrefString : public AppPref {
 public:
  // A value of 1024 bytes is the longest without error.
  AppPrefString(const std::string& prefName, const std::string& defaultValue, ApiAccessType appApiAccess,
                ApiAccessType webApiAccess, const std::string& value);
  ~AppPrefString() override;

  // A default of more than 1024 bytes sets the error flag.
  void setDefaultValue() override;

  // Takes at most 1023 bytes, one fewer than the file may hold. Returns 0 (OK) or 1 (Invalid Parameter).
  CommonReturnCode_t setValueByString(const std::string& text) override;

  AppPref* clone() const override;

  // The text, also when the item is in error.
  std::string getValue() const;

  // Stores the text; more than 1024 bytes set the error flag.
  void setValue(const std::string& value);
};

}  // namespace Kelp

#endif  // KELP_PREF_APP_PREF_STRING_H
