#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <fstream>
#include <string>
#include <vector>

#include "KelpDebug.h"
#include "support/CallFaults.h"
#include "support/FileStatus.h"
#include "support/LogCapture.h"
#include "support/PrivateNamespace.h"

namespace {

using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::exists;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::modeOf;
using KelpTest::statusOf;

constexpr char kLogDirectory[] = "/var/log/kelp";
constexpr char kLogFile[] = "/var/log/kelp/pf_x.log";
constexpr gid_t kOtherGroup = 4711;

void makeFile(const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_NE(fd, -1) << path;
  close(fd);
}

void removeLogDirectory() {
  ASSERT_EQ(rmdir(kLogDirectory), 0);
}

// Gives this process's file system the groups root and kelpapp. Inside a user namespace there is one group to give
// files to, root's own: kelpapp is another name of it then.
gid_t makeApplicationGroup() {
  const gid_t group = KelpTest::isRealRoot() ? kOtherGroup : 0;
  std::ofstream("/tmp/group") << "root:x:0:\nkelpapp:x:" << group << ":\n";
  EXPECT_EQ(mount("/tmp/group", "/etc/group", nullptr, MS_BIND, nullptr), 0);
  return group;
}

// What would be run: the commands are kept from running, and each leaves its line.
template <typename Function>
std::vector<std::string> commandsOf(Function function) {
  const std::string head = "ERROR: system ";
  const LogCapture log;
  const CallFault fault(Call::System, EAGAIN, 0, 100);
  function();
  std::vector<std::string> commands;
  for (const LogLine& line : log.lines()) {
    EXPECT_EQ(line.message.compare(0, head.size(), head), 0) << line;
    commands.push_back(line.message.substr(head.size(), line.message.size() - head.size() - 1));
  }
  return commands;
}

TEST(KelpDebugTest, LogDirectoryIsMadeWhereItIsMissing) {
  removeLogDirectory();
  const mode_t formerMask = umask(077);
  KelpDebugCreateLogDir();
  EXPECT_EQ(umask(formerMask), 077U);
  EXPECT_TRUE(S_ISDIR(statusOf(kLogDirectory).st_mode));
  EXPECT_EQ(modeOf(kLogDirectory), 0755U);
}

TEST(KelpDebugTest, LogDirectoryThatExistsStaysAsItIs) {
  ASSERT_EQ(chmod(kLogDirectory, 0700), 0);
  const int commands = callCount(Call::System);
  KelpDebugCreateLogDir();
  EXPECT_EQ(callCount(Call::System), commands);
  EXPECT_EQ(modeOf(kLogDirectory), 0700U);
  chmod(kLogDirectory, 0755);
}

// What counts is whether anything is there.
TEST(KelpDebugTest, LogDirectoryIsNotMadeWhereAnEmptyFileStands) {
  removeLogDirectory();
  makeFile(kLogDirectory);
  EXPECT_TRUE(commandsOf([] { KelpDebugCreateLogDir(); }).empty());
  unlink(kLogDirectory);
  mkdir(kLogDirectory, 0755);
}

TEST(KelpDebugTest, FailureToMakeTheLogDirectoryIsLogged) {
  removeLogDirectory();
  EXPECT_EQ(commandsOf([] { KelpDebugCreateLogDir(); }), (std::vector<std::string>{"mkdir -p -m 0755 /var/log/kelp"}));
  mkdir(kLogDirectory, 0755);
}

TEST(KelpDebugTest, FirstKindIsRootsOwnWithMode644) {
  removeLogDirectory();
  const LogCapture log;
  const mode_t formerMask = umask(077);
  KelpDebugGenerateLogFile("x", 0);
  umask(formerMask);
  EXPECT_EQ(modeOf(kLogDirectory), 0755U);
  const struct stat status = statusOf(kLogFile);
  EXPECT_TRUE(S_ISREG(status.st_mode));
  EXPECT_EQ(status.st_mode & 07777U, 0644U);
  EXPECT_EQ(status.st_uid, 0U);
  EXPECT_EQ(status.st_gid, 0U);
  EXPECT_EQ(status.st_size, 0);
  EXPECT_TRUE(log.lines().empty());
  KelpDebugRemoveLogFile("x");
}

TEST(KelpDebugTest, SecondKindIsTheApplicationGroupsWithMode664) {
  const gid_t group = makeApplicationGroup();
  const LogCapture log;
  KelpDebugGenerateLogFile("x", 1);
  const struct stat status = statusOf(kLogFile);
  EXPECT_EQ(status.st_mode & 07777U, 0664U);
  EXPECT_EQ(status.st_uid, 0U);
  EXPECT_EQ(status.st_gid, group);
  EXPECT_TRUE(log.lines().empty());
  KelpDebugRemoveLogFile("x");
  umount("/etc/group");
}

TEST(KelpDebugTest, FileThatExistsKeepsItsContentAndGetsOwnerAndMode) {
  std::ofstream(kLogFile) << "a line";
  ASSERT_EQ(chmod(kLogFile, 0600), 0);
  KelpDebugGenerateLogFile("x", 0);
  EXPECT_EQ(modeOf(kLogFile), 0644U);
  EXPECT_EQ(statusOf(kLogFile).st_size, 6);
  KelpDebugRemoveLogFile("x");
}

TEST(KelpDebugTest, CommandsOfTheFirstKind) {
  EXPECT_EQ(commandsOf([] { KelpDebugGenerateLogFile("core", 0); }),
            (std::vector<std::string>{"touch /var/log/kelp/pf_core.log", "chown root.root /var/log/kelp/pf_core.log",
                                      "chmod 644 /var/log/kelp/pf_core.log"}));
}

TEST(KelpDebugTest, CommandsOfTheSecondKind) {
  EXPECT_EQ(commandsOf([] { KelpDebugGenerateLogFile("core", 1); }),
            (std::vector<std::string>{"touch /var/log/kelp/pf_core.log", "chown root.kelpapp /var/log/kelp/pf_core.log",
                                      "chmod 664 /var/log/kelp/pf_core.log"}));
}

TEST(KelpDebugTest, CommandsWhereTheLogDirectoryIsMissing) {
  removeLogDirectory();
  EXPECT_EQ(commandsOf([] { KelpDebugGenerateLogFile("x", 0); }),
            (std::vector<std::string>{"mkdir -p -m 0755 /var/log/kelp", "touch /var/log/kelp/pf_x.log",
                                      "chown root.root /var/log/kelp/pf_x.log", "chmod 644 /var/log/kelp/pf_x.log"}));
  mkdir(kLogDirectory, 0755);
}

TEST(KelpDebugTest, CommandsOfRemoval) {
  EXPECT_EQ(commandsOf([] { KelpDebugRemoveLogFile("core"); }),
            (std::vector<std::string>{"rm -f /var/log/kelp/pf_core.log*", "rm -f /mnt/log/kelp/pf_core.log*"}));
}

TEST(KelpDebugTest, FailingCommandIsLoggedAndTheNextStepRuns) {
  std::ofstream("/tmp/group") << "root:x:0:\n";
  ASSERT_EQ(mount("/tmp/group", "/etc/group", nullptr, MS_BIND, nullptr), 0);
  const LogCapture log;
  KelpDebugGenerateLogFile("x", 1);  // no group of that name
  EXPECT_EQ(log.lines(),
            std::vector<LogLine>{errorLine("SysFunc.cpp", 0, "kelpExec",
                                           "BUSYBOX error: chown root.kelpapp /var/log/kelp/pf_x.log (code = 256)\n")});
  EXPECT_EQ(modeOf(kLogFile), 0664U);
  KelpDebugRemoveLogFile("x");
  umount("/etc/group");
}

TEST(KelpDebugTest, UnknownKindIsRefusedWithOneLineAndDoesNothing) {
  removeLogDirectory();
  for (const int kind : {-1, 2, INT_MIN, INT_MAX}) {
    const LogCapture log;
    const int commands = callCount(Call::System);
    KelpDebugGenerateLogFile("x", kind);
    EXPECT_EQ(log.lines(), std::vector<LogLine>{errorLine(
                               "KelpDebug.cpp", 0, "KelpDebugGenerateLogFile",
                               "ERROR: Unknown kind of debug log file (kind = " + std::to_string(kind) + ")\n")});
    EXPECT_EQ(callCount(Call::System), commands);
    EXPECT_FALSE(exists(kLogDirectory));
  }
  mkdir(kLogDirectory, 0755);
}

TEST(KelpDebugTest, RemovalTakesRotatedFilesInBothDirectoriesAndNoOthers) {
  const std::string directories[] = {"/var/log/kelp/", "/mnt/log/kelp/"};
  const char* const removed[] = {"pf_x.log", "pf_x.log.1", "pf_x.log.2.gz", "pf_x.log~"};
  const char* const kept[] = {"pf_xy.log", "pf_x.txt", "x.log", "pf_y.log.1"};
  for (const std::string& directory : directories) {
    for (const char* name : removed) {
      makeFile(directory + name);
    }
    for (const char* name : kept) {
      makeFile(directory + name);
    }
  }
  const LogCapture log;
  KelpDebugRemoveLogFile("x");
  for (const std::string& directory : directories) {
    for (const char* name : removed) {
      EXPECT_FALSE(exists(directory + name)) << directory << name;
    }
    for (const char* name : kept) {
      EXPECT_TRUE(exists(directory + name)) << directory << name;
      unlink((directory + name).c_str());
    }
  }
  EXPECT_TRUE(log.lines().empty());
}

TEST(KelpDebugTest, RemovalWhereNothingIsThereIsNoError) {
  const LogCapture log;
  KelpDebugRemoveLogFile("x");
  EXPECT_TRUE(log.lines().empty());
}

TEST(KelpDebugTest, LongestNameThatIsPromisedFitsTheCommands) {
  const std::string name(200, 'n');
  const LogCapture log;
  const gid_t group = makeApplicationGroup();
  KelpDebugGenerateLogFile(name.c_str(), 1);
  EXPECT_EQ(statusOf("/var/log/kelp/pf_" + name + ".log").st_gid, group);
  KelpDebugRemoveLogFile(name.c_str());
  EXPECT_FALSE(exists("/var/log/kelp/pf_" + name + ".log"));
  EXPECT_TRUE(log.lines().empty());
  umount("/etc/group");
}

}  // namespace
