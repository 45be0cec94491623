// The power goes at any moment of a save or a restore. What the library does to files is recorded from its system calls
// and replayed on a model of a disk.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "AppPrefList.h"
#include "FileOperator.h"
#include "crcCalculator.h"
#include "pref/PrefFiles.h"
#include "support/DiskModel.h"
#include "support/FileOperations.h"
#include "support/TextFile.h"
#include "support/TracedProcess.h"

namespace {

using Kelp::AppPrefList;
using KelpTest::Disk;
using KelpTest::DiskModel;
using KelpTest::FileOperation;
using KelpTest::isTracingPermitted;
using KelpTest::kPrefPath;
using KelpTest::readText;
using KelpTest::recordFileOperations;
using KelpTest::statesAfter;
using KelpTest::statesDuring;
using KelpTest::writeText;

constexpr char kSource[] = "/tmp/source.json";
constexpr char kSavedPath[] = "/tmp/saved.json";
const std::string kTemporaryPath = std::string(kPrefPath) + "~";

// A list whose file takes several blocks.
AppPrefList makeList(char letter) {
  writeText(kSource, KelpTest::allTypesJson());
  AppPrefList list(kSource, false, 0);
  EXPECT_EQ(list.setBinary("binary", std::string(10000, letter)), 0);
  EXPECT_EQ(list.setString("string", std::string(1000, letter)), 0);
  return list;
}

std::string textOf(const AppPrefList& list) {
  std::string text;
  EXPECT_TRUE(list.getAppPrefJsonStringForCRC(text));
  return text;
}

std::string savedForm(const AppPrefList& list) {
  const std::string text = textOf(list);
  const unsigned crc = Kelp::crcCalculator::getCRC(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  return "{\"appPreferenceCrc\":\"" + std::to_string(crc) + "\"," + text.substr(1);
}

void writeDisk(const Disk& disk) {
  for (const char* path : {kPrefPath, kTemporaryPath.c_str()}) {
    std::filesystem::remove(path);
  }
  for (const auto& [path, content] : disk) {
    writeText(path, content);
  }
}

std::vector<FileOperation> record(const Disk& disk, const std::function<int()>& body) {
  writeDisk(disk);
  return recordFileOperations(body);
}

std::set<std::string> prefFilesIn(const std::set<Disk>& disks) {
  return KelpTest::contentsOf(kPrefPath, disks);
}

// Whatever is left on the disk, the next process changes the preferences and saves them.
void expectNextProcessWorks(const Disk& disk) {
  writeDisk(disk);
  AppPrefList list(kPrefPath, false, 0);
  ASSERT_FALSE(list.hasError());
  EXPECT_EQ(list.setInteger("integer", 7), 0);
  EXPECT_EQ(list.writeFile(kPrefPath), 0);
  EXPECT_EQ(readText(kPrefPath), textOf(list));
  EXPECT_FALSE(std::filesystem::exists(kTemporaryPath));
}

class AppPrefListPowerLossTest : public testing::Test {
 protected:
  AppPrefListPowerLossTest()
      : m_old(makeList('o')), m_new(makeList('n')), m_oldText(textOf(m_old)), m_newText(textOf(m_new)) {}

  void SetUp() override {
    if (!isTracingPermitted()) {
      GTEST_SKIP() << "a process may not trace its own child here";
    }
  }

  // At each moment the old or the new file is there and whole, once `body` has returned the new one; and whatever else
  // is there, the next process works.
  void expectOldOrNew(const Disk& disk, const std::string& oldText, const std::function<int()>& body) {
    const std::vector<FileOperation> operations = record(disk, body);
    const std::set<Disk> states = statesDuring(disk, operations);
    EXPECT_EQ(prefFilesIn(states), std::set<std::string>({oldText, m_newText}));
    EXPECT_EQ(prefFilesIn(statesAfter(disk, operations)), std::set<std::string>({m_newText}));
    for (const Disk& state : states) {
      if (state.count(kPrefPath) != 0) {
        expectNextProcessWorks(state);
      }
    }
  }

  const AppPrefList m_old;
  const AppPrefList m_new;
  const std::string m_oldText;
  const std::string m_newText;
};

TEST_F(AppPrefListPowerLossTest, ASaveLeavesTheWholeOldOrTheWholeNewFile) {
  expectOldOrNew({{kPrefPath, m_oldText}}, m_oldText, [&] { return m_new.writeFile(kPrefPath); });
}

TEST_F(AppPrefListPowerLossTest, AFirstSaveLeavesNoFileOrTheWholeOne) {
  expectOldOrNew({}, "", [&] { return m_new.writeFile(kPrefPath); });
}

TEST_F(AppPrefListPowerLossTest, WhatALostSaveHasLeftDoesNotHarmTheNextOne) {
  expectOldOrNew({{kPrefPath, m_oldText}, {kTemporaryPath, m_newText.substr(0, 5000)}}, m_oldText,
                 [&] { return m_new.writeFile(kPrefPath); });
}

TEST_F(AppPrefListPowerLossTest, ASaveBehindAnotherNeverGoesBackBehindIt) {
  const AppPrefList between = makeList('b');
  const Disk disk = {{kPrefPath, m_oldText}};
  const auto first = record(disk, [&] { return between.writeFile(kPrefPath); });
  const auto both = record(disk, [&] { return between.writeFile(kPrefPath) + m_new.writeFile(kPrefPath); });
  EXPECT_EQ(prefFilesIn(statesDuring(disk, both)), std::set<std::string>({m_oldText, textOf(between), m_newText}));
  DiskModel model(disk);
  for (size_t i = 0; i < both.size(); ++i) {
    model.apply(both[i]);
    if (i + 1 >= first.size()) {
      EXPECT_EQ(prefFilesIn(model.statesAfterPowerLoss()).count(m_oldText), 0u) << i;
    }
  }
}

TEST_F(AppPrefListPowerLossTest, ARestoreLeavesTheWholeOldOrTheWholeNewFile) {
  const std::string saved = savedForm(m_new);
  expectOldOrNew({{kPrefPath, m_oldText}, {kSavedPath, saved}}, m_oldText, [] {
    AppPrefList list(kPrefPath, false, 0);
    return list.AppPrefRestore(kSavedPath, nullptr);
  });
}

// That the model finds what there is to find: the ways of saving that do lose files.
class DiskModelTest : public AppPrefListPowerLossTest {
 protected:
  // The steps of a save, one by one.
  static bool writeTo(const std::string& path, const std::string& text, bool isSynced) {
    Kelp::FileOperator file(path, false);
    const int size = static_cast<int>(text.size());
    return file.open(O_WRONLY | O_CREAT | O_TRUNC, 0777) == 0 && file.write(text.data(), size) == size &&
           (!isSynced || fsync(file.getFd()) == 0);
  }

  static bool syncDirectory() {
    Kelp::FileOperator directory("/tmp", false);
    return directory.open(O_RDONLY | O_DIRECTORY, 0) == 0 && fsync(directory.getFd()) == 0;
  }

  std::vector<FileOperation> recordSave(const std::function<bool()>& body) {
    return record(m_disk, [&] { return body() ? 0 : 1; });
  }

  const Disk m_disk = {{kPrefPath, m_oldText}};
  const std::set<std::string> m_oldOrNew = {m_oldText, m_newText};
};

TEST_F(DiskModelTest, AFileThatIsRenamedBeforeItsDataIsSyncedMayBeLost) {
  const auto operations = recordSave(
      [&] { return writeTo(kTemporaryPath, m_newText, false) && rename(kTemporaryPath.c_str(), kPrefPath) == 0; });
  const std::set<std::string> files = prefFilesIn(statesDuring(m_disk, operations));
  EXPECT_EQ(files.count(""), 1u);                                   // nothing of it
  EXPECT_EQ(files.count(std::string(m_newText.size(), '\0')), 1u);  // only its size
  std::string withoutSecondBlock = m_newText;
  withoutSecondBlock.replace(4096, 4096, 4096, '\0');
  EXPECT_EQ(files.count(withoutSecondBlock), 1u);
}

TEST_F(DiskModelTest, AFileThatIsWrittenInPlaceMayBeLost) {
  const auto operations = recordSave([&] {
    const bool isWritten = writeTo(kPrefPath, m_newText, false);
    sync();
    return isWritten;
  });
  EXPECT_EQ(prefFilesIn(statesDuring(m_disk, operations)).count(""), 1u);
  EXPECT_EQ(prefFilesIn(statesAfter(m_disk, operations)), std::set<std::string>({m_newText}));
}

TEST_F(DiskModelTest, AFileThatIsSyncedBeforeTheRenameIsWholeAndItsNameMayBeTheOldFiles) {
  const auto operations = recordSave(
      [&] { return writeTo(kTemporaryPath, m_newText, true) && rename(kTemporaryPath.c_str(), kPrefPath) == 0; });
  EXPECT_EQ(prefFilesIn(statesDuring(m_disk, operations)), m_oldOrNew);
  EXPECT_EQ(prefFilesIn(statesAfter(m_disk, operations)), m_oldOrNew);
}

TEST_F(DiskModelTest, ARenameIsKeptByASyncOfItsDirectory) {
  const auto operations = recordSave([&] {
    return writeTo(kTemporaryPath, m_newText, true) && rename(kTemporaryPath.c_str(), kPrefPath) == 0 &&
           syncDirectory();
  });
  EXPECT_EQ(prefFilesIn(statesDuring(m_disk, operations)), m_oldOrNew);
  EXPECT_EQ(prefFilesIn(statesAfter(m_disk, operations)), std::set<std::string>({m_newText}));
}

}  // namespace
