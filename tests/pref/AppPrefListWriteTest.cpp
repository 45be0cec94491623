#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "AppPrefBinary.h"
#include "AppPrefList.h"
#include "AppPrefString.h"
#include "pref/PrefFiles.h"
#include "support/CallFaults.h"
#include "support/FileStatus.h"
#include "support/LogCapture.h"
#include "support/TextFile.h"

namespace {

using Kelp::AppPrefList;
using KelpTest::allTypesJson;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::exists;
using KelpTest::fileJson;
using KelpTest::itemJson;
using KelpTest::kAllTypesWritten;
using KelpTest::kDocumentedExample;
using KelpTest::kPrefPath;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::readText;
using KelpTest::writeText;

const std::string kTarget = "/tmp/target.json";
const std::string kTemporary = "/tmp/target.json~";
const std::string kOld = "the old file";

class AppPrefListWriteTest : public testing::Test {
 protected:
  AppPrefListWriteTest() : m_list(loadAllTypes()) {
    std::filesystem::remove_all(kTarget);
    std::filesystem::remove_all(kTemporary);
    writeText(kTarget, kOld);
  }

  static AppPrefList loadAllTypes() {
    writeText(kPrefPath, allTypesJson());
    return AppPrefList(kPrefPath, false, 0);
  }

  // The write that just failed left the old file and nothing else.
  static void expectOldFileOnly() {
    EXPECT_EQ(readText(kTarget), kOld);
    EXPECT_FALSE(exists(kTemporary));
  }

  AppPrefList m_list;
};

LogLine listLine(const std::string& message) {
  return errorLine("AppPrefList.cpp", 0, "writeFile", message);
}

TEST_F(AppPrefListWriteTest, WritesTheWholeFileByteForByte) {
  LogCapture log;
  EXPECT_EQ(m_list.writeFile(kTarget), 0);
  EXPECT_EQ(readText(kTarget), kAllTypesWritten);
  EXPECT_FALSE(exists(kTemporary));
  EXPECT_TRUE(log.errors().empty());
}

TEST_F(AppPrefListWriteTest, WritesTheDocumentedExampleAsItStands) {
  writeText(kPrefPath, kDocumentedExample);
  EXPECT_EQ(AppPrefList(kPrefPath, false, 0).writeFile(kTarget), 0);
  EXPECT_EQ(readText(kTarget), kDocumentedExample);
}

TEST_F(AppPrefListWriteTest, WritesAccessAndEscapes) {
  writeText(kPrefPath, fileJson({itemJson("a/b", "String", "\\\"", "\\n\\u0001\\u00e9",
                                          R"(, "appApiAccess": "Read", "webApiAccess": "None")")}));
  EXPECT_EQ(AppPrefList(kPrefPath, false, 0).writeFile(kTarget), 0);
  EXPECT_EQ(readText(kTarget),
            "{\n"
            "  \"funcId\":\"0000A012\",\n"
            "  \"preferenceVersion\":{\n"
            "    \"major\":\"1\",\n"
            "    \"minor\":\"2\"\n"
            "  },\n"
            "  \"preference\":[\n"
            "    {\n"
            "      \"prefName\":\"a\\/b\",\n"
            "      \"prefType\":\"String\",\n"
            "      \"appApiAccess\":\"Read\",\n"
            "      \"webApiAccess\":\"None\",\n"
            "      \"defaultValue\":\"\\\"\",\n"
            "      \"value\":\"\\n\\u0001\xc3\xa9\"\n"
            "    }\n"
            "  ]\n"
            "}");
}

TEST_F(AppPrefListWriteTest, WritesAListWithoutItems) {
  writeText(kPrefPath, fileJson({}));
  EXPECT_EQ(AppPrefList(kPrefPath, false, 0).writeFile(kTarget), 0);
  const std::string written = readText(kTarget);
  EXPECT_FALSE(AppPrefList(kTarget, false, 0).hasError());
  EXPECT_EQ(written.rfind("{\n  \"funcId\":\"0000A012\",\n", 0), 0U);
}

TEST_F(AppPrefListWriteTest, ItemInErrorIsWrittenEmpty) {
  m_list.getAppPref("string")->setError();
  EXPECT_EQ(m_list.writeFile(kTarget), 0);
  EXPECT_NE(readText(kTarget).find("\"defaultValue\":\"none\",\n      \"value\":\"\"\n"), std::string::npos);
}

TEST_F(AppPrefListWriteTest, FuncIdHasEightUpperCaseDigits) {
  for (const char* funcId : {"FFFFFFFF", "0000000A", "80000000"}) {
    writeText(kPrefPath, std::string(R"({"funcId": ")") + funcId +
                             R"(", "preferenceVersion": {"major": "1", "minor": "2"}, "preference": []})");
    EXPECT_EQ(AppPrefList(kPrefPath, false, 0).writeFile(kTarget), 0);
    EXPECT_EQ(readText(kTarget).substr(0, 23), std::string("{\n  \"funcId\":\"") + funcId + "\"");
  }
}

TEST_F(AppPrefListWriteTest, WhatIsWrittenLoadsAndIsWrittenTheSame) {
  EXPECT_EQ(m_list.writeFile(kTarget), 0);
  const AppPrefList again(kTarget, false, 0);
  EXPECT_FALSE(again.hasError());
  EXPECT_EQ(again.writeFile(kPrefPath), 0);
  EXPECT_EQ(readText(kPrefPath), kAllTypesWritten);
}

TEST_F(AppPrefListWriteTest, BytesThatAreNoUtf8ComeBackAsTheyWere) {
  const std::string bytes = "\xff\xc3 \x80\xed\xa0\x80\x7f\x01";
  EXPECT_EQ(m_list.setString("string", bytes), 0);
  EXPECT_EQ(m_list.writeFile(kTarget), 0);
  EXPECT_EQ(AppPrefList(kTarget, false, 0).getAppPrefString("string")->getValue(), bytes);
}

TEST_F(AppPrefListWriteTest, TextIsWrittenUpToItsFirstNulByte) {
  EXPECT_EQ(m_list.setString("string", std::string("front\0door", 10)), 0);
  EXPECT_EQ(m_list.writeFile(kTarget), 0);
  EXPECT_EQ(AppPrefList(kTarget, false, 0).getAppPrefString("string")->getValue(), "front");
}

TEST_F(AppPrefListWriteTest, ChecksumOfASavedFileIsNotWritten) {
  std::string saved = kAllTypesWritten;
  saved.replace(saved.size() - 2, 2, ",\n  \"appPreferenceCrc\":\"4711\"\n}");
  writeText(kPrefPath, saved);
  const AppPrefList list(kPrefPath, false, 0);
  ASSERT_FALSE(list.hasError());
  EXPECT_EQ(list.writeFile(kTarget), 0);
  EXPECT_EQ(readText(kTarget), kAllTypesWritten);
}

TEST_F(AppPrefListWriteTest, FileMayBeOpenedByEverybody) {
  ASSERT_EQ(unlink(kTarget.c_str()), 0);
  const mode_t mask = umask(077);
  EXPECT_EQ(m_list.writeFile(kTarget), 0);
  umask(mask);
  struct stat status = {};
  ASSERT_EQ(stat(kTarget.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0777U);
}

TEST_F(AppPrefListWriteTest, LeftOverTemporaryFileIsReplaced) {
  writeText(kTemporary, std::string(200000, 'x'));
  EXPECT_EQ(m_list.writeFile(kTarget), 0);
  EXPECT_EQ(readText(kTarget), kAllTypesWritten);
  EXPECT_FALSE(exists(kTemporary));
}

// The disks are asked to keep the text before it takes the old one's place, and the new name afterwards.
TEST_F(AppPrefListWriteTest, SyncsTwice) {
  const int before = callCount(Call::Sync);
  EXPECT_EQ(m_list.writeFile(kTarget), 0);
  EXPECT_EQ(callCount(Call::Sync), before + 2);
}

TEST_F(AppPrefListWriteTest, LeavesNoDescriptorOpen) {
  const int before = dup(0);
  EXPECT_EQ(m_list.writeFile(kTarget), 0);
  const int after = dup(0);
  EXPECT_EQ(after, before + 1);
  close(before);
  close(after);
}

// Gives the list's binary item the length with which the file has `size` bytes.
void fillTo(AppPrefList& list, size_t size) {
  ASSERT_EQ(list.setBinary("binary", ""), 0);
  ASSERT_EQ(list.writeFile(kTarget), 0);
  ASSERT_EQ(list.setBinary("binary", std::string(size - readText(kTarget).size(), 'A')), 0);
}

TEST_F(AppPrefListWriteTest, FileOf131072BytesIsWritten) {
  fillTo(m_list, 131072);
  EXPECT_EQ(m_list.writeFile(kTarget), 0);
  EXPECT_EQ(readText(kTarget).size(), 131072U);
  EXPECT_FALSE(AppPrefList(kTarget, false, 0).hasError());
}

TEST_F(AppPrefListWriteTest, OneByteMoreIsRefusedAndNothingIsTouched) {
  fillTo(m_list, 131073);
  writeText(kTarget, kOld);
  writeText(kTemporary, "another's");
  const int opens = callCount(Call::Open);
  LogCapture log;
  EXPECT_EQ(m_list.writeFile(kTarget), 16);
  EXPECT_EQ(callCount(Call::Open), opens);
  EXPECT_EQ(readText(kTarget), kOld);
  EXPECT_EQ(readText(kTemporary), "another's");
  EXPECT_TRUE(log.errors().empty());
}

TEST_F(AppPrefListWriteTest, TemporaryFileThatCannotBeOpenedIsAnIoError) {
  LogCapture log;
  const CallFault fault(Call::Open, EACCES);
  EXPECT_EQ(m_list.writeFile(kTarget), 15);
  expectOldFileOnly();
  ASSERT_EQ(log.errors().size(), 1U);
  EXPECT_EQ(log.errors()[0].file, "FileOperator.cpp");
}

TEST_F(AppPrefListWriteTest, DirectoryThatIsMissingIsAnIoError) {
  EXPECT_EQ(m_list.writeFile("/tmp/missing/target.json"), 15);
}

TEST_F(AppPrefListWriteTest, FailedWriteRemovesTheTemporaryFile) {
  LogCapture log;
  const CallFault fault(Call::Write, ENOSPC);
  EXPECT_EQ(m_list.writeFile(kTarget), 15);
  expectOldFileOnly();
  EXPECT_EQ(log.errors(), std::vector<LogLine>({listLine("Can't write PrefFile /tmp/target.json~")}));
}

TEST_F(AppPrefListWriteTest, WriteThatFailsHalfwayRemovesTheTemporaryFile) {
  LogCapture log;
  const KelpTest::ShortWrites shortWrites(100);
  const CallFault fault(Call::Write, ENOSPC, 3);
  EXPECT_EQ(m_list.writeFile(kTarget), 15);
  EXPECT_EQ(fault.hits(), 1);
  expectOldFileOnly();
  EXPECT_EQ(log.errors(), std::vector<LogLine>({listLine("Can't write PrefFile /tmp/target.json~")}));
}

TEST_F(AppPrefListWriteTest, FullFileSystemIsAnIoError) {
  if (access("/dev/full", W_OK) != 0) {
    GTEST_SKIP() << "/dev/full cannot be written here";
  }
  ASSERT_EQ(symlink("/dev/full", kTemporary.c_str()), 0);
  LogCapture log;
  EXPECT_EQ(m_list.writeFile(kTarget), 15);
  EXPECT_EQ(readText(kTarget), kOld);
  EXPECT_EQ(log.errors()[0], listLine("Can't write PrefFile /tmp/target.json~"));
  unlink(kTemporary.c_str());
}

TEST_F(AppPrefListWriteTest, ShortWritesAndInterruptionsAreRepeated) {
  const KelpTest::ShortWrites shortWrites(10);
  const CallFault fault(Call::Write, EINTR, 1, 20);
  EXPECT_EQ(m_list.writeFile(kTarget), 0);
  EXPECT_EQ(fault.hits(), 20);
  EXPECT_EQ(readText(kTarget), kAllTypesWritten);
}

TEST_F(AppPrefListWriteTest, FailedCloseRemovesTheTemporaryFile) {
  LogCapture log;
  const CallFault fault(Call::Close, EIO);
  EXPECT_EQ(m_list.writeFile(kTarget), 15);
  EXPECT_EQ(fault.hits(), 1);
  expectOldFileOnly();
  EXPECT_TRUE(log.contains(listLine("Can't write PrefFile /tmp/target.json~")));
}

TEST_F(AppPrefListWriteTest, FailedRenameRemovesTheTemporaryFile) {
  LogCapture log;
  const CallFault fault(Call::Rename, EPERM);
  EXPECT_EQ(m_list.writeFile(kTarget), 14);
  expectOldFileOnly();
  EXPECT_EQ(log.errors(),
            std::vector<LogLine>({errorLine("SysFunc.cpp", 0, "kelpRename",
                                            "ERROR: Can't rename /tmp/target.json~ to /tmp/target.json errno: " +
                                                std::to_string(EPERM) + "\n"),
                                  listLine("Can't rename PrefFile /tmp/target.json~~")}));
}

TEST_F(AppPrefListWriteTest, DirectoryAtThePathIsAFileAccessError) {
  ASSERT_EQ(unlink(kTarget.c_str()), 0);
  ASSERT_EQ(mkdir(kTarget.c_str(), 0755), 0);
  EXPECT_EQ(m_list.writeFile(kTarget), 14);
  EXPECT_FALSE(exists(kTemporary));
}

TEST_F(AppPrefListWriteTest, FailedChmodIsReportedWithTheNewFileInPlace) {
  LogCapture log;
  const int syncs = callCount(Call::Sync);
  const CallFault fault(Call::Chmod, EPERM);
  EXPECT_EQ(m_list.writeFile(kTarget), 15);
  EXPECT_EQ(readText(kTarget), kAllTypesWritten);
  EXPECT_FALSE(exists(kTemporary));
  EXPECT_EQ(callCount(Call::Sync), syncs + 2);
  EXPECT_EQ(log.errors(), std::vector<LogLine>({listLine("Can't chmod prefFile /tmp/target.json~")}));
}

TEST_F(AppPrefListWriteTest, FileIsCreatedWithTheModeThatItIsToHave) {
  const CallFault fault(Call::Chmod, EPERM);
  const mode_t mask = umask(0);
  EXPECT_EQ(m_list.writeFile(kTarget), 15);
  umask(mask);
  struct stat status = {};
  ASSERT_EQ(stat(kTarget.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0777U);
}

TEST_F(AppPrefListWriteTest, ALinkInThePlaceOfTheTemporaryFileIsFollowed) {
  const std::string elsewhere = "/tmp/elsewhere";
  writeText(elsewhere, "what the link points to");
  ASSERT_EQ(chmod(elsewhere.c_str(), 0600), 0);
  ASSERT_EQ(symlink(elsewhere.c_str(), kTemporary.c_str()), 0);
  EXPECT_EQ(m_list.writeFile(kTarget), 0);
  EXPECT_EQ(readText(elsewhere), kAllTypesWritten);
  EXPECT_EQ(KelpTest::modeOf(elsewhere), 0777U);
}

TEST_F(AppPrefListWriteTest, FileOfTheBenchmarkIsAsItIsWritten) {
  const std::string path = KELP_TEST_BENCH_DATA "/appPrefs64k.json";
  const AppPrefList list(path, false, 0);
  ASSERT_FALSE(list.hasError());
  EXPECT_GT(list.getPrefList().size(), 200U);
  EXPECT_EQ(list.writeFile(kTarget), 0);
  EXPECT_EQ(readText(kTarget), readText(path));
  EXPECT_EQ(readText(path).size(), 65536U);
}

}  // namespace
