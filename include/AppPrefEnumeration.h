// A preference that is one element of a list of texts.
//
// Threads: as AppPref.
#ifndef KELP_PREF_APP_PREF_ENUMERATION_H
#define KELP_PREF_APP_PREF_ENUMERATION_H

#include <string>
#include <vector>

#include "AppPref.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT AppPrefEnumeration : public AppPref {
 public:
  // The value's index is that of the last element equal to `value`. The error flag is set when there is none, and by an
  // element of more than 1024 bytes, at which the search ends.
  AppPrefEnumeration(const std::string& prefName, const std::vector<std::string>& enumerationList,
                     const std::string& defaultValue, ApiAccessType appApiAccess, ApiAccessType webApiAccess,
                     const std::string& value);
  ~AppPrefEnumeration() override;

  // The first element equal to the default. Where there is none, the value's text stays, its index becomes -1 and the
  // error flag is set.
  void setDefaultValue() override;

  // Takes the text of an element, the first one equal to it. Returns 0 (OK) or 1 (Invalid Parameter).
  CommonReturnCode_t setValueByString(const std::string& text) override;

  AppPref* clone() const override;

  // The current value's index, or -1 when there is none.
  int getValue() const;

  // An index outside the list only sets the error flag.
  void setValue(int index);

  // Belongs to the item and never changes.
  const std::vector<std::string>& getEnumerationArray() const;

  // The index of the first element equal to `text`, or -1.
  int getValueIndex(const std::string& text) const;

 private:
  KELP_LOCAL bool isIndex(int index) const;
  KELP_LOCAL void findLastValue(const std::string& value);

  std::vector<std::string> m_enumerationList;  // in the file's order
  int m_valueIndex;                            // -1: none
};

}  // namespace Kelp

#endif  // KELP_PREF_APP_PREF_ENUMERATION_H
