// The input is a byte that says how the restore starts, and a saved preference file:
//   bit 0     the file gets the checksum that its contents need, so that what follows that check is reached
//   bits 1, 2 which list the file is restored into
#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "AppPrefList.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/Input.h"
#include "fuzz/support/JsonMutator.h"
#include "fuzz/support/Platform.h"
#include "fuzz/support/PrefChecks.h"
#include "fuzz/support/PrefReference.h"
#include "tests/pref/PrefFiles.h"

namespace {

using Kelp::AppPrefList;
using KelpFuzz::PrefContents;
using KelpFuzz::RestoreOutcome;
using KelpTest::itemJson;

std::string ownFile(unsigned int which) {
  switch (which) {
    case 0:
      return KelpTest::allTypesJson();
    case 1:
      return KelpTest::allTypesJson(R"(, "appApiAccess": "Read", "webApiAccess": "None")");
    case 2:
      return KelpTest::fileJson(
          {itemJson("enumeration", "Enumeration", "b", "a", R"(, "enumerationList": ["a", "b", "a"])"),
           itemJson("string", "Binary", "TWE=", "TWFu")});
    default:
      return KelpTest::fileJson({});
  }
}

// Read once: the lists are always the same.
struct Own {
  std::string file;
  PrefContents contents;
};

const Own& ownOf(unsigned int which) {
  static const auto* const s_own = [] {
    auto* const own = new Own[4];
    for (unsigned int i = 0; i < 4; ++i) {
      own[i].file = ownFile(i);
      own[i].contents = KelpFuzz::loadPrefs(own[i].file, false, 0);
    }
    return own;
  }();
  return s_own[which];
}

void checkRestore(const Own& own, const std::string& savedPath, const std::string& saved) {
  const std::string ownPath = KelpFuzz::pathOf("own");
  KelpFuzz::writeFile(ownPath, own.file);  // anew each time, because a restore replaces it
  AppPrefList list(ownPath, false, 0);
  PrefContents contents = own.contents;
  const RestoreOutcome expected = KelpFuzz::restorePrefs(contents, saved);
  std::vector<std::string> changed;
  FUZZ_CHECK_EQ(static_cast<int>(list.AppPrefRestore(savedPath, &changed)), expected.result);
  FUZZ_CHECK(changed == expected.changed);
  KelpFuzz::checkPrefs(list, contents);
  const bool isWritten = expected.result == 0;
  FUZZ_CHECK_EQ(KelpFuzz::readFile(ownPath), isWritten ? KelpFuzz::canonicalText(contents) : own.file);
  FUZZ_CHECK(!KelpFuzz::isThere(ownPath + "~"));
}

}  // namespace

const size_t KelpFuzz::kJsonOffset = 1;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static KelpFuzz::MemoryFile s_saved("saved");
  KelpFuzz::Input input(data, size);
  const uint8_t control = input.byte();
  const std::string text = input.rest();
  const std::string saved = (control & 1) != 0 ? KelpFuzz::withChecksum(text) : text;
  s_saved.write(saved);
  const Own& own = ownOf((control >> 1) & 3U);
  const KelpFuzz::Residue residue;
  checkRestore(own, s_saved.path(), saved);
  return 0;
}
