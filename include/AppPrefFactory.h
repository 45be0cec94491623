// Builds the preference item that a type text asks for.
//
// Threads: stateless; may be called on any thread.
#ifndef KELP_PREF_APP_PREF_FACTORY_H
#define KELP_PREF_APP_PREF_FACTORY_H

#include <string>
#include <vector>

#include "AppPref.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT AppPrefFactory {
 public:
  // A new item, which the caller owns, or null when `typeText` is none of "Boolean", "Integer", "String",
  // "Enumeration" and "Binary", to the letter. Only an Enumeration takes the list. Bad values give an item in error.
  static AppPref* createAppPref(const std::string& prefName, const std::string& typeText,
                                const std::vector<std::string>& enumerationList, const std::string& defaultValue,
                                ApiAccessType appApiAccess, ApiAccessType webApiAccess, const std::string& value);
};

}  // namespace Kelp

#endif  // KELP_PREF_APP_PREF_FACTORY_H
