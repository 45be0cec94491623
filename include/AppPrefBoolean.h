// A preference that is true or false.
//
// Threads: as AppPref.
#ifndef KELP_PREF_APP_PREF_BOOLEAN_H
#define KELP_PREF_APP_PREF_BOOLEAN_H

#include <string>

#include "AppPref.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT AppPrefBoolean : public AppPref {
 public:
  // `value` is "TRUE" or "FALSE", the only forms that the file knows; anything else, "true" included, sets the error
  // flag and means false.
  AppPrefBoolean(const std::string& prefName, const std::string& defaultValue, ApiAccessType appApiAccess,
                 ApiAccessType webApiAccess, const std::string& value);
  ~AppPrefBoolean() override;

  // True when the default is "true" or "TRUE", otherwise false.
  void setDefaultValue() override;

  // Takes what strtoBoolean() takes and stores it as "TRUE" or "FALSE". Returns 0 (OK) or 1 (Invalid Parameter).
  CommonReturnCode_t setValueByString(const std::string& text) override;

  AppPref* clone() const override;

  bool getValue() const;
  void setValue(bool value);

  // "true" and "TRUE" give true, "false" and "FALSE" give false, and 0 (OK); any other text leaves `flag` alone and
  // gives 1 (Invalid Parameter). Can be called on any thread.
  static CommonReturnCode_t strtoBoolean(const std::string& text, bool& flag);

  static const std::string s_strTrue;   // "TRUE"
  static const std::string s_strFalse;  // "FALSE"

 private:
  bool m_boolValue;  // the value's typed form
};

}  // namespace Kelp

#endif  // KELP_PREF_APP_PREF_BOOLEAN_H
