#include <errno.h>
#include <gtest/gtest.h>
#include <libgen.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>
#include <thread>
#include <vector>

#include "FilePathManager.h"
#include "support/CallFaults.h"
#include "support/LogCapture.h"

namespace {

using Kelp::FilePathManager;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::LinkTarget;
using KelpTest::LogCapture;
using KelpTest::traceLine;

const char kApps[] = "/mnt/system/kelp/Kelpapp";

void makeDirectory(const std::string& path) {
  ASSERT_TRUE(mkdir(path.c_str(), 0755) == 0 || errno == EEXIST) << path;
}

// The conf directory of the application NAME.
void makeConf() {
  makeDirectory(kApps);
  makeDirectory(std::string(kApps) + "/NAME");
  makeDirectory(std::string(kApps) + "/NAME/conf");
}

TEST(FilePathManagerTest, FixedRoots) {
  EXPECT_EQ(FilePathManager::getRamPath(), "/tmp");
  EXPECT_EQ(FilePathManager::getRomPath(), "/mnt/system/kelp");
  EXPECT_EQ(FilePathManager::getLogPath(), "/var/log/kelp");
  EXPECT_EQ(FilePathManager::getLogBackupPath(), "/mnt/log/kelp");
  EXPECT_EQ(FilePathManager::getLxcVarLibLxcPath(), "/var/lib/lxc");
  EXPECT_EQ(FilePathManager::getLxcBinDirPath(), "/bin");
  EXPECT_EQ(FilePathManager::getLxcDirPath(), "");
  EXPECT_EQ(FilePathManager::getBusyboxPath(), "/bin/busybox");
}

TEST(FilePathManagerTest, CorePaths) {
  EXPECT_EQ(FilePathManager::getCoreBasePath(), "/mnt/system/kelp/Kelp");
  EXPECT_EQ(FilePathManager::getCoreDataPath(), "/mnt/system/kelp/Kelp/data");
  EXPECT_EQ(FilePathManager::getCoreDataAppProfilePath(42), "/mnt/system/kelp/Kelp/data/0000002A");
  EXPECT_EQ(FilePathManager::getCoreTmpPath(), "/tmp/Kelp");
  EXPECT_EQ(FilePathManager::getCoreFifoPath(), "/tmp/Kelp/fifocore");
}

TEST(FilePathManagerTest, FifoPathsCarryTheirNumbersInHexadecimal) {
  EXPECT_EQ(FilePathManager::getApiFifoPath(1234), "/tmp/Kelp/fifo000004D2");
  EXPECT_EQ(FilePathManager::getApiFifoPath(-1), "/tmp/Kelp/fifoFFFFFFFF");
  EXPECT_EQ(FilePathManager::getAppFifoPath(3, 1), "/tmp/Kelp/fifo00000003_00000001");
  EXPECT_EQ(FilePathManager::getAppFifoPath(-2, 0x7fffffff), "/tmp/Kelp/fifoFFFFFFFE_7FFFFFFF");
}

TEST(FilePathManagerTest, InstalledApplicationPaths) {
  EXPECT_EQ(FilePathManager::getAppBasePath(), "/mnt/system/kelp/Kelpapp");
  EXPECT_EQ(FilePathManager::getAppPath("NAME"), "/mnt/system/kelp/Kelpapp/NAME");
  EXPECT_EQ(FilePathManager::getAppDataPath("NAME"), "/mnt/system/kelp/Kelpapp/NAME/data");
  EXPECT_EQ(FilePathManager::getAppBinPath("NAME"), "/mnt/system/kelp/Kelpapp/NAME/bin");
  EXPECT_EQ(FilePathManager::getAppSetupPath("NAME"), "/mnt/system/kelp/Kelpapp/NAME/setup");
  EXPECT_EQ(FilePathManager::getAppBackupPath("NAME"), "/mnt/system/kelp/Kelpapp/~NAME");
  EXPECT_EQ(FilePathManager::getAppModifyFilePath(), "/mnt/system/kelp/Kelpapp/appModify");
}

TEST(FilePathManagerTest, NamesAreInsertedAsTheyAre) {
  EXPECT_EQ(FilePathManager::getAppPath(""), "/mnt/system/kelp/Kelpapp/");
  EXPECT_EQ(FilePathManager::getAppPath("../a b$"), "/mnt/system/kelp/Kelpapp/../a b$");
}

TEST(FilePathManagerTest, ConfigurationIsBelowConfWhereThatExists) {
  makeConf();
  EXPECT_EQ(FilePathManager::getAppConfPath("NAME"), "/mnt/system/kelp/Kelpapp/NAME/conf");
  EXPECT_EQ(FilePathManager::getAppPrefsFilePath("NAME"), "/mnt/system/kelp/Kelpapp/NAME/conf/appPrefs.json");
  EXPECT_EQ(FilePathManager::getAppProfileFilePath("NAME"), "/mnt/system/kelp/Kelpapp/NAME/conf/profile.bin");
  EXPECT_EQ(FilePathManager::getAppInstallInfoFilePath("NAME"),
            "/mnt/system/kelp/Kelpapp/NAME/conf/applicationInfo.bin");
}

TEST(FilePathManagerTest, ConfigurationIsBelowInfoWhereConfIsMissing) {
  EXPECT_EQ(FilePathManager::getAppConfPath("x"), "/mnt/system/kelp/Kelpapp/x/info");
  EXPECT_EQ(FilePathManager::getAppPrefsFilePath("x"), "/mnt/system/kelp/Kelpapp/x/info/appPrefs.json");
  EXPECT_EQ(FilePathManager::getAppProfileFilePath("x"), "/mnt/system/kelp/Kelpapp/x/info/profile.bin");
  EXPECT_EQ(FilePathManager::getAppInstallInfoFilePath("x"), "/mnt/system/kelp/Kelpapp/x/info/applicationInfo.bin");
}

TEST(FilePathManagerTest, ConfIsLookedForOnEachCall) {
  EXPECT_EQ(FilePathManager::getAppConfPath("NAME"), "/mnt/system/kelp/Kelpapp/NAME/info");
  makeConf();
  EXPECT_EQ(FilePathManager::getAppConfPath("NAME"), "/mnt/system/kelp/Kelpapp/NAME/conf");
  ASSERT_EQ(rmdir("/mnt/system/kelp/Kelpapp/NAME/conf"), 0);
  EXPECT_EQ(FilePathManager::getAppConfPath("NAME"), "/mnt/system/kelp/Kelpapp/NAME/info");
}

TEST(FilePathManagerTest, BackupOfThePreferencesIsAlwaysBelowConf) {
  EXPECT_EQ(FilePathManager::getAppPrefsFilePath("x"), "/mnt/system/kelp/Kelpapp/x/info/appPrefs.json");
  EXPECT_EQ(FilePathManager::getAppPrefsBackupFilePath("x"), "/mnt/system/kelp/Kelpapp/~x/conf/appPrefs.json");
}

TEST(FilePathManagerTest, ApplicationRamPaths) {
  EXPECT_EQ(FilePathManager::getAppTmpBasePath(), "/tmp/Kelpapp");
  EXPECT_EQ(FilePathManager::getAppTmpPath(42), "/tmp/Kelpapp/0000002A");
  EXPECT_EQ(FilePathManager::getAppTmpPath(-1), "/tmp/Kelpapp/FFFFFFFF");
}

TEST(FilePathManagerTest, CoreTemporaryNamesCountFromZero) {
  EXPECT_EQ(FilePathManager::getCoreTmpFilePath(), "/tmp/Kelp/core00000000");
  EXPECT_EQ(FilePathManager::getCoreTmpFilePath(), "/tmp/Kelp/core00000001");
}

TEST(FilePathManagerTest, BothKindsOfApplicationTemporaryNameShareOneCounter) {
  EXPECT_EQ(FilePathManager::getAppTmpFilePath(42, 7), "/tmp/Kelpapp/0000002A/app00000007_00000000");
  EXPECT_EQ(FilePathManager::getAppTmpFilePathFromCore(42), "/tmp/Kelpapp/0000002A/appfromcore00000001");
  EXPECT_EQ(FilePathManager::getAppTmpFilePath(-1, -1), "/tmp/Kelpapp/FFFFFFFF/appFFFFFFFF_00000002");
  EXPECT_EQ(FilePathManager::getAppTmpFilePathFromCore(0), "/tmp/Kelpapp/00000000/appfromcore00000003");
}

TEST(FilePathManagerTest, PreferencesTemporaryNamesCountFromZeroWhereverTheyLie) {
  EXPECT_EQ(FilePathManager::getAppPrefsTmpFilePath("NAME"), "/mnt/system/kelp/Kelpapp/NAME/info/tmpPrefs00000000");
  makeConf();
  EXPECT_EQ(FilePathManager::getAppPrefsTmpFilePath("NAME"), "/mnt/system/kelp/Kelpapp/NAME/conf/tmpPrefs00000001");
}

TEST(FilePathManagerTest, TwoThreadsNeverGetTheSameTemporaryName) {
  constexpr size_t kNames = 2000;
  std::vector<std::string> names[2];
  std::vector<std::thread> threads;
  for (std::vector<std::string>& own : names) {
    threads.emplace_back([&own] {
      for (size_t i = 0; i < kNames; ++i) {
        own.push_back(FilePathManager::getCoreTmpFilePath());
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::set<std::string> all(names[0].begin(), names[0].end());
  all.insert(names[1].begin(), names[1].end());
  EXPECT_EQ(all.size(), 2 * kNames);
}

TEST(FilePathManagerTest, LogNameHoldsSevenCharactersOfTheName) {
  EXPECT_EQ(FilePathManager::getAppLogName(1, "abcdefghij"), "app00000001_abcdefg");
  EXPECT_EQ(FilePathManager::getAppLogName(42, "abcdefg"), "app0000002A_abcdefg");
  EXPECT_EQ(FilePathManager::getAppLogName(42, "myapp"), "app0000002A_myapp");
  EXPECT_EQ(FilePathManager::getAppLogName(-1, ""), "appFFFFFFFF_");
}

TEST(FilePathManagerTest, CoreBinDirectoryIsTheExecutablesOwn) {
  char self[4096] = {};
  ASSERT_GT(readlink("/proc/self/exe", self, sizeof(self) - 1), 0);
  ASSERT_LE(std::string(self).size(), 255U) << "the build tree lies too deep for this test";
  const std::string link = self;
  LogCapture log;
  EXPECT_EQ(FilePathManager::getKelpCoreBinDirPath(), dirname(self));
  EXPECT_EQ(log.lines(), std::vector<KelpTest::LogLine>{traceLine("FilePathManager.cpp", 0, "getKelpCoreBinDirPath",
                                                                  "readlink('/proc/self/exe')=" + link + "\n")});
}

TEST(FilePathManagerTest, ExecutableAtTheRootHasTheRootAsItsDirectory) {
  const LinkTarget target("/init");
  EXPECT_EQ(FilePathManager::getKelpCoreBinDirPath(), "/");
}

TEST(FilePathManagerTest, PathOfTheExecutableIsCutAt255Bytes) {
  const std::string directory = "/" + std::string(250, 'd');
  const LinkTarget target(directory + "/abcdefg");
  LogCapture log;
  EXPECT_EQ(FilePathManager::getKelpCoreBinDirPath(), directory);
  EXPECT_TRUE(log.contains(traceLine("FilePathManager.cpp", 0, "getKelpCoreBinDirPath",
                                     "readlink('/proc/self/exe')=" + directory + "/abc\n")));
}

TEST(FilePathManagerDeathTest, UnreadableLinkEndsTheProcess) {
  const char* const message = "FilePathManager\\.cpp:[0-9]+: .*getKelpCoreBinDirPath.*: Assertion `size > 0' failed";
  const CallFault fault(Call::Readlink, ENOENT);
  EXPECT_DEATH(FilePathManager::getKelpCoreBinDirPath(), message);
}

TEST(FilePathManagerDeathTest, EmptyLinkEndsTheProcess) {
  const char* const message = "FilePathManager\\.cpp:[0-9]+: .*getKelpCoreBinDirPath.*: Assertion `size > 0' failed";
  const LinkTarget target("");
  EXPECT_DEATH(FilePathManager::getKelpCoreBinDirPath(), message);
}

}  // namespace
