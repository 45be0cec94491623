// Loading a preference file of 64 KiB beside json-c's own parsing of the same bytes and reading of every text in them.
#include <fcntl.h>
#include <json-c/json.h>
#include <stdint.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "AppPrefList.h"
#include "support/Clock.h"
#include "support/Comparison.h"

using namespace KelpBench;

namespace {

constexpr char kPath[] = KELP_BENCH_DATA "/appPrefs64k.json";
constexpr int kRepetitions = 300;
constexpr int kItemCount = 302;

template <typename Operation>
double cpuNanosecondsPerCall(Operation operation) {
  const int64_t start = processCpuNanoseconds();
  for (int i = 0; i < kRepetitions; ++i) {
    operation();
  }
  return static_cast<double>(processCpuNanoseconds() - start) / kRepetitions;
}

double loadWithKelp() {
  return cpuNanosecondsPerCall([] {
    const Kelp::AppPrefList list(kPath, false, 0);
    require(!list.hasError() && list.getPrefList().size() == kItemCount, "AppPrefList");
  });
}

std::vector<char> readFile() {
  const int fd = open(kPath, O_RDONLY | O_CLOEXEC);
  struct stat status;
  require(fd != -1 && fstat(fd, &status) == 0, kPath);
  std::vector<char> text(static_cast<size_t>(status.st_size) + 1);
  require(read(fd, text.data(), text.size() - 1) == status.st_size, "read");
  close(fd);
  return text;
}

// How many bytes the text under `key` has; nothing is copied.
size_t textSize(json_object* object, const char* key) {
  return strlen(json_object_get_string(json_object_object_get(object, key)));
}

size_t readItem(json_object* item) {
  size_t size = 0;
  for (const char* key : {"prefName", "prefType", "appApiAccess", "webApiAccess", "defaultValue", "value"}) {
    size += textSize(item, key);
  }
  json_object* const elements = json_object_object_get(item, "enumerationList");
  const size_t count = elements == nullptr ? 0 : json_object_array_length(elements);
  for (size_t i = 0; i < count; ++i) {
    size += strlen(json_object_get_string(json_object_array_get_idx(elements, i)));
  }
  return size;
}

size_t readAll(json_object* root) {
  json_object* const version = json_object_object_get(root, "preferenceVersion");
  json_object* const items = json_object_object_get(root, "preference");
  size_t size = textSize(root, "funcId") + textSize(version, "major") + textSize(version, "minor");
  const size_t count = json_object_array_length(items);
  require(count == kItemCount, "preference");
  for (size_t i = 0; i < count; ++i) {
    size += readItem(json_object_array_get_idx(items, i));
  }
  return size;
}

double loadWithJsonC() {
  return cpuNanosecondsPerCall([] {
    json_object* const root = json_tokener_parse(readFile().data());
    require(root != nullptr && readAll(root) > 0, "json-c");
    json_object_put(root);
  });
}

}  // namespace

int main() {
  compare("Preference file of 64 KiB loaded; floor: json-c's parsing and reading of it", Figure::Nanoseconds,
          atMost(1.5), loadWithKelp, loadWithJsonC);
}
