#include "AppPrefFactory.h"

#include "AppPrefBinary.h"
#include "AppPrefBoolean.h"
#include "AppPrefEnumeration.h"
#include "AppPrefInteger.h"
#include "AppPrefString.h"

namespace Kelp {

AppPref* AppPrefFactory::createAppPref(const std::string& prefName, const std::string& typeText,
                                       const std::vector<std::string>& enumerationList, const std::string& defaultValue,
                                       ApiAccessType appApiAccess, ApiAccessType webApiAccess,
                                       const std::string& value) {
  if (typeText == "Boolean") {
    return new AppPrefBoolean(prefName, defaultValue, appApiAccess, webApiAccess, value);
  }
  if (typeText == "Integer") {
    return new AppPrefInteger(prefName, defaultValue, appApiAccess, webApiAccess, value);
  }
  if (typeText == "String") {
    return new AppPrefString(prefName, defaultValue, appApiAccess, webApiAccess, value);
  }
  if (typeText == "Enumeration") {
    return new AppPrefEnumeration(prefName, enumerationList, defaultValue, appApiAccess, webApiAccess, value);
  }
  if (typeText == "Binary") {
    return new AppPrefBinary(prefName, defaultValue, appApiAccess, webApiAccess, value);
  }
  return nullptr;
}

}  // namespace Kelp
