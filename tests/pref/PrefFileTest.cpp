#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <json-c/json.h>
#include <limits.h>

#include "AppPrefList.h"
#include "FileOperator.h"
#include "pref/PrefFile.h"
#include "pref/PrefFiles.h"
#include "support/FileStatus.h"
#include "support/TextFile.h"

namespace {

int s_callsBeforeFailure = -1;  // -1: no failure

bool isFailing() {
  return s_callsBeforeFailure >= 0 && s_callsBeforeFailure-- == 0;
}

template <typename Function>
Function* jsonFunction(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The process supplies json-c, so the test can stand in front of it: each of these fails when its turn has come.
extern "C" json_object* json_object_new_object() {
  return isFailing() ? nullptr : jsonFunction<json_object*()>("json_object_new_object")();
}
extern "C" json_object* json_object_new_array() {
  return isFailing() ? nullptr : jsonFunction<json_object*()>("json_object_new_array")();
}
extern "C" json_object* json_object_new_string(const char* text) {
  return isFailing() ? nullptr : jsonFunction<json_object*(const char*)>("json_object_new_string")(text);
}
extern "C" int json_object_object_add(json_object* object, const char* key, json_object* value) {
  using Function = int(json_object*, const char*, json_object*);
  return isFailing() ? -1 : jsonFunction<Function>("json_object_object_add")(object, key, value);
}
extern "C" int json_object_array_add(json_object* array, json_object* value) {
  return isFailing() ? -1 : jsonFunction<int(json_object*, json_object*)>("json_object_array_add")(array, value);
}
extern "C" const char* json_object_to_json_string_ext(json_object* object, int flags) {
  using Function = const char*(json_object*, int);
  return isFailing() ? nullptr : jsonFunction<Function>("json_object_to_json_string_ext")(object, flags);
}
extern "C" const char* json_object_get_string(json_object* object) {
  return isFailing() ? nullptr : jsonFunction<const char*(json_object*)>("json_object_get_string")(object);
}

namespace {

using Kelp::AppPrefList;
using Kelp::FileOperator;
using KelpTest::kPrefPath;

class PrefFileTest : public testing::Test {
 protected:
  PrefFileTest() : m_file(kPrefPath, false) {
    KelpTest::writeText(kPrefPath, KelpTest::allTypesJson());
    EXPECT_EQ(m_file.open(O_RDONLY, 0), 0);
  }

  FileOperator m_file;
};

TEST_F(PrefFileTest, WholeFileIsReadAndParsed) {
  bool isRead = false;
  const Kelp::JsonOwner json = Kelp::readJson(m_file, m_file.size(), isRead);
  EXPECT_TRUE(isRead);
  std::string text;
  EXPECT_TRUE(Kelp::readText(json.get(), "funcId", text));
  EXPECT_EQ(text, "0000A012");
}

TEST_F(PrefFileTest, SizeThatNoFileHasIsNotRead) {
  for (const long long size : {-1LL, LLONG_MIN, static_cast<long long>(INT_MAX), LLONG_MAX, 4294967296LL}) {
    bool isRead = true;
    EXPECT_EQ(Kelp::readJson(m_file, size, isRead), nullptr) << size;
    EXPECT_FALSE(isRead);
  }
}

TEST_F(PrefFileTest, FileThatIsShorterThanItsSizeIsNotRead) {
  bool isRead = true;
  EXPECT_EQ(Kelp::readJson(m_file, m_file.size() + 1, isRead), nullptr);
  EXPECT_FALSE(isRead);
}

TEST_F(PrefFileTest, WithoutMemoryForTheTextNothingIsWrittenAndNothingLost) {
  const AppPrefList list(kPrefPath, false, 0);
  int failures = 0;
  for (int calls = 0;; ++calls) {
    s_callsBeforeFailure = calls;
    const auto result = list.writeFile("/tmp/target.json");
    const bool hasFailed = s_callsBeforeFailure == -1;
    s_callsBeforeFailure = -1;
    if (!hasFailed) {
      EXPECT_EQ(result, 0);
      break;
    }
    ++failures;
    ASSERT_EQ(result, 16) << calls;
    ASSERT_FALSE(KelpTest::exists("/tmp/target.json"));
    ASSERT_FALSE(KelpTest::exists("/tmp/target.json~"));
  }
  EXPECT_GT(failures, 80);
  EXPECT_EQ(KelpTest::readText("/tmp/target.json"), KelpTest::kAllTypesWritten);
}

// An access that cannot be read must not become the widest one.
TEST_F(PrefFileTest, WithoutMemoryForAStringFormLoadingFails) {
  KelpTest::writeText(kPrefPath, KelpTest::allTypesJson(R"(, "appApiAccess": "Read", "webApiAccess": "None")"));
  int failures = 0;
  for (int calls = 0;; ++calls) {
    s_callsBeforeFailure = calls;
    const AppPrefList list(kPrefPath, false, 0);
    const bool hasFailed = s_callsBeforeFailure == -1;
    s_callsBeforeFailure = -1;
    if (!hasFailed) {
      EXPECT_FALSE(list.hasError());
      break;
    }
    ++failures;
    ASSERT_TRUE(list.hasError()) << calls;
  }
  EXPECT_GT(failures, 30);
}

}  // namespace
