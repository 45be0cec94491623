// A response of strings, written to its file, beside json-c used directly.
#include <json-c/json.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "JsonSerializer.h"
#include "ResponseEncoder.h"
#include "support/Clock.h"
#include "support/Comparison.h"
#include "support/PrivateNamespace.h"

using namespace KelpBench;

namespace {

constexpr char kResponseFile[] = "/tmp/Kelp/response.json";
constexpr int kStrings = 200000;  // in all responses of a round together

using Members = std::vector<std::pair<std::string, std::string>>;

Members membersOf(int count) {
  Members members;
  for (int i = 0; i < count; ++i) {
    members.emplace_back("member" + std::to_string(i), "the value of member number " + std::to_string(i));
  }
  return members;
}

void writeWithKelp(const Members& members) {
  Kelp::JsonSerializer serializer(kResponseFile);
  Kelp::ResponseEncoder encoder(serializer);
  encoder.beginStruct("result");
  for (const auto& [name, value] : members) {
    encoder.putString(name, value);
  }
  encoder.endStruct();
  serializer.doSerialize();
}

void writeWithJsonC(const Members& members) {
  json_object* const root = json_object_new_object();
  json_object* const result = json_object_new_object();
  json_object_object_add(root, "result", result);
  for (const auto& [name, value] : members) {
    json_object_object_add(result, name.c_str(), json_object_new_string(value.c_str()));
  }
  require(json_object_to_file_ext(kResponseFile, root, JSON_C_TO_STRING_PLAIN) == 0, "json_object_to_file_ext");
  json_object_put(root);
}

template <typename Write>
double cpuNanosecondsOf(const Members& members, Write write) {
  const int responses = kStrings / static_cast<int>(members.size());
  const int64_t start = processCpuNanoseconds();
  for (int i = 0; i < responses; ++i) {
    write(members);
  }
  return static_cast<double>(processCpuNanoseconds() - start) / responses;
}

}  // namespace

int main(int /*argc*/, char** argv) {
  KelpTest::enterPrivateNamespace(argv);
  for (const int count : {10, 1000}) {
    const Members members = membersOf(count);
    compare(
        "JSON response of " + std::to_string(count) + " strings", Figure::Nanoseconds, atMost(1.15),
        [&] { return cpuNanosecondsOf(members, writeWithKelp); },
        [&] { return cpuNanosecondsOf(members, writeWithJsonC); });
  }
}
