// A preference that is a signed 64-bit number.
//
// Threads: as AppPref.
#ifndef KELP_PREF_APP_PREF_INTEGER_H
#define KELP_PREF_APP_PREF_INTEGER_H

#include <string>

#include "AppPref.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT AppPrefInteger : public AppPref {
 public:
  // `value` is what strtoInt() takes; anything else sets the error flag. In either case the value's text becomes the
  // decimal form of the number read: "007" becomes "7", "12abc" becomes "12" in error.
  AppPrefInteger(const std::string& prefName, const std::string& defaultValue, ApiAccessType appApiAccess,
                 ApiAccessType webApiAccess, const std::string& value);
  ~AppPrefInteger() override;

  // The number that strtoInt() reads from the default, whether or not it takes all of the text. A default of more
  // than 1024 bytes sets the error flag.
  void setDefaultValue() override;

  // Takes what strtoInt() takes and stores its decimal form. Returns 0 (OK) or 1 (Invalid Parameter).
  CommonReturnCode_t setValueByString(const std::string& text) override;

  AppPref* clone() const override;

  long long getValue() const;
  void setValue(long long value);

  // Reads a decimal number of 64 bits; blanks and a sign may precede it. Returns 0 (OK), or 1 (Invalid Parameter)
  // when the text is empty, goes on behind the number, or is out of range. `number` is written in every case: with
  // what could be read, the nearest limit when out of range. Can be called on any thread.
  static CommonReturnCode_t strtoInt(const std::string& text, long long& number);

 private:
  long long m_intValue;  // the value's typed form
};

}  // namespace Kelp

#endif  // KELP_PREF_APP_PREF_INTEGER_H
