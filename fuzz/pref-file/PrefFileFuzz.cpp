// The input is a preference file: loaded as the device's and as a package's default file, written, and loaded again. A
// byte of 2 in front, and the byte n behind that, stand for blanks behind the file that make it nearly as long as a
// file may be, or somewhat longer: 65,472 + n / 2 bytes, or 131,008 + n / 2 where n is odd.
#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <string>
#include <vector>

#include "AppPrefList.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/JsonMutator.h"
#include "fuzz/support/Platform.h"
#include "fuzz/support/PrefChecks.h"
#include "fuzz/support/PrefReference.h"

namespace {

using Kelp::AppPref;
using Kelp::AppPrefList;
using KelpFuzz::PrefContents;

constexpr size_t kLargestFile = 131072;
constexpr size_t kLargestDefaultFile = 65536;
constexpr uint8_t kLong = 2;

// writeFile() writes the canonical text, with no temporary file left; or nothing, when that is too long for a file. A
// list without error is one that its own file gives back.
void checkRoundTrip(const AppPrefList& list, const std::string& text) {
  const std::string path = KelpFuzz::pathOf("written");
  const bool isWritable = text.size() <= kLargestFile;
  KelpFuzz::removeFile(path);
  FUZZ_CHECK_EQ(static_cast<int>(list.writeFile(path)), isWritable ? 0 : 16);
  FUZZ_CHECK(!KelpFuzz::isThere(path + "~"));
  FUZZ_CHECK_EQ(KelpFuzz::isThere(path), isWritable);
  if (!isWritable) {
    return;
  }
  FUZZ_CHECK_EQ(KelpFuzz::readFile(path), text);
  if (!list.hasError()) {
    const AppPrefList again(path, false, 0);
    FUZZ_CHECK(!again.hasError());
    FUZZ_CHECK_EQ(KelpFuzz::canonicalText(again), text);
  }
}

void checkComparisons(const AppPrefList& list) {
  FUZZ_CHECK(!list.hasSamePref(nullptr) && !list.hasSamePrefAll(nullptr));
  for (const AppPref* const pref : list.getPrefList()) {
    FUZZ_CHECK(list.hasSamePref(pref) && list.hasSamePrefAll(pref));
  }
}

// The items of a copy are its own.
void checkCopies(AppPrefList& list, PrefContents contents, const std::string& text) {
  AppPrefList copy(list);
  std::vector<std::string> changed;
  copy.setDefaultValue(&changed);
  FUZZ_CHECK(changed == KelpFuzz::setPrefsDefault(contents));
  KelpFuzz::checkPrefs(copy, contents);
  FUZZ_CHECK_EQ(KelpFuzz::canonicalText(list), text);
  list = copy;
  KelpFuzz::checkPrefs(list, contents);
}

void checkDeviceFile(const std::string& path, const PrefContents& contents) {
  AppPrefList list(path, false, 0);
  KelpFuzz::checkPrefs(list, contents);
  checkComparisons(list);
  const std::string text = KelpFuzz::canonicalText(contents);
  checkRoundTrip(list, text);
  checkCopies(list, contents, text);
}

void checkDefaultFile(const std::string& path, const PrefContents& contents) {
  const AppPrefList list(path, true, contents.funcId);
  KelpFuzz::checkPrefs(list, contents);
  FUZZ_CHECK_EQ(KelpFuzz::canonicalText(list), KelpFuzz::canonicalText(contents));
  if (!contents.hasError) {
    const AppPrefList other(path, true, contents.funcId ^ 1);
    FUZZ_CHECK(other.hasError());
    FUZZ_CHECK_EQ(other.getPrefList().size(), contents.items.size());
  }
}

std::string fileOf(const uint8_t* data, size_t size) {
  std::string text(data, data + size);
  if (size > 1 && data[0] == kLong) {
    const size_t limit = data[1] % 2 == 0 ? kLargestDefaultFile : kLargestFile;
    text.erase(0, 2);
    text.resize(std::max(text.size(), limit - 64 + data[1] / 2U), ' ');
  }
  return text;
}

}  // namespace

const size_t KelpFuzz::kJsonOffset = 0;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static KelpFuzz::MemoryFile s_file("prefs");
  const std::string text = fileOf(data, size);
  s_file.write(text);
  const KelpFuzz::Residue residue;
  const PrefContents contents = KelpFuzz::loadPrefs(text, false, 0);
  checkDeviceFile(s_file.path(), contents);
  checkDefaultFile(s_file.path(), KelpFuzz::loadPrefs(text, true, contents.funcId));
  return 0;
}
