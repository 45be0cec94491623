// Compares the library's preferences with the second opinion on them.
#ifndef KELP_FUZZ_PREF_CHECKS_H
#define KELP_FUZZ_PREF_CHECKS_H

#include <string>

#include "AppPref.h"
#include "AppPrefList.h"
#include "fuzz/support/PrefReference.h"

namespace KelpFuzz {

// What setting a value changes.
void checkValue(const Kelp::AppPref& pref, const PrefItem& expected);

// All that can be asked of the item, and of its clone.
void checkPref(Kelp::AppPref& pref, const PrefItem& expected);

// All of the list's own fields, and the items in their order. Each is found by its name and its type's operation only.
void checkPrefs(const Kelp::AppPrefList& list, const PrefContents& expected);

std::string canonicalText(const Kelp::AppPrefList& list);

}  // namespace KelpFuzz

#endif  // KELP_FUZZ_PREF_CHECKS_H
