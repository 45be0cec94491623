// A preference that is a block of bytes, held as its Base64 text.
//
// Threads: as AppPref.
#ifndef KELP_PREF_APP_PREF_BINARY_H
#define KELP_PREF_APP_PREF_BINARY_H

#include <string>

#include "AppPref.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT AppPrefBinary : public AppPref {
 public:
  // `value` is cut to 43692 characters. Whether it is Base64 is not checked.
  AppPrefBinary(const std::string& prefName, const std::string& defaultValue, ApiAccessType appApiAccess,
                ApiAccessType webApiAccess, const std::string& value);
  ~AppPrefBinary() override;

  void setDefaultValue() override;

  // Takes what decodes as Base64, and stores the text as it came. Returns 0 (OK), or 1 (Invalid Parameter) and stores
  // nothing when a character is none of Base64's. Any other code is the decoder's, and the text is stored all the
  // same: 1 (Invalid Parameter) where the text's length is not a multiple of 4 and its last group decodes to more than
  // Base64EncDec::decodeMaxSize() bytes.
  CommonReturnCode_t setValueByString(const std::string& text) override;

  AppPref* clone() const override;

  // The Base64 text, also when the item is in error.
  std::string getValue() const;

  // Stores the text, whatever its length.
  void setValue(const std::string& value);
};

}  // namespace Kelp

#endif  // KELP_PREF_APP_PREF_BINARY_H
