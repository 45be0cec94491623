#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>
#include <vector>

#include "SysFunc.h"
#include "support/CallFaults.h"
#include "support/FileStatus.h"
#include "support/LogCapture.h"
#include "support/PrivateNamespace.h"

namespace {

using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_Ok;
using Kelp::SysFunc;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::exists;
using KelpTest::lastSystemCommand;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::modeOf;
using KelpTest::statusOf;

void makeFile(const std::string& path, mode_t mode = 0644) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, mode);
  ASSERT_NE(fd, -1) << path;
  ASSERT_EQ(write(fd, "12345", 5), 5);
  close(fd);
  ASSERT_EQ(chmod(path.c_str(), mode), 0);
}

// "/tmp/d" with a file in it and another below a directory of its own.
void makeTree() {
  ASSERT_EQ(mkdir("/tmp/d", 0700), 0);
  ASSERT_EQ(mkdir("/tmp/d/below", 0700), 0);
  makeFile("/tmp/d/file", 0600);
  makeFile("/tmp/d/below/file", 0600);
}

const char* const kTree[] = {"/tmp/d", "/tmp/d/below", "/tmp/d/file", "/tmp/d/below/file"};

// The umask for a test, and whether the code under test has left it alone.
class UmaskGuard {
 public:
  explicit UmaskGuard(mode_t mask) : m_mask(mask), m_oldMask(umask(mask)) {}
  ~UmaskGuard() { EXPECT_EQ(umask(m_oldMask), m_mask); }

 private:
  mode_t m_mask;
  mode_t m_oldMask;
};

LogLine busyboxError(const std::string& command, int code) {
  return errorLine("SysFunc.cpp", 0, "kelpExec",
                   "BUSYBOX error: " + command + " (code = " + std::to_string(code) + ")\n");
}

LogLine systemError(const std::string& command) {
  return errorLine("SysFunc.cpp", 0, "kelpExec", "ERROR: system " + command + "\n");
}

TEST(SysFuncTest, BlocksAreGivenGrownAndReleased) {
  auto* block = static_cast<char*>(SysFunc::kelpMalloc(4));
  ASSERT_NE(block, nullptr);
  memcpy(block, "abcd", 4);
  block = static_cast<char*>(SysFunc::kelpRealloc(block, 100000));
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(memcmp(block, "abcd", 4), 0);
  block[99999] = 'e';
  SysFunc::kelpFree(block);
  SysFunc::kelpFree(nullptr);
}

TEST(SysFuncTest, NullIsGivenWhenMemoryIsOut) {
  {
    const CallFault fault(Call::Malloc, ENOMEM);
    EXPECT_EQ(SysFunc::kelpMalloc(4), nullptr);
    EXPECT_EQ(fault.hits(), 1);
  }
  void* block = SysFunc::kelpMalloc(4);
  {
    const CallFault fault(Call::Realloc, ENOMEM);
    EXPECT_EQ(SysFunc::kelpRealloc(block, 8), nullptr);
    EXPECT_EQ(fault.hits(), 1);
  }
  SysFunc::kelpFree(block);
}

TEST(SysFuncTest, StatTellsTheSizeInBytes) {
  makeFile("/tmp/f");
  EXPECT_EQ(SysFunc::kelpStat("/tmp/f"), 5);
  ASSERT_EQ(truncate("/tmp/f", 0), 0);
  EXPECT_EQ(SysFunc::kelpStat("/tmp/f"), 0);
}

TEST(SysFuncTest, StatOfAMissingFileIsMinusOneWithoutALine) {
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpStat("/tmp/missing"), -1);
  EXPECT_TRUE(log.lines().empty());
}

TEST(SysFuncTest, StatTellsSizesBeyond32Bits) {
  makeFile("/tmp/f");
  for (const long long size : {0x80000000LL, 0xFFFFFFFFLL, 0x140000000LL}) {
    ASSERT_EQ(truncate("/tmp/f", size), 0);
    EXPECT_EQ(SysFunc::kelpStat("/tmp/f"), size);
  }
}

TEST(SysFuncTest, FilesOf4GiBAreHandledAsSmallOnes) {
  makeFile("/tmp/f");
  ASSERT_EQ(truncate("/tmp/f", 0x140000000LL), 0);
  EXPECT_EQ(SysFunc::kelpChown("/tmp/f", getuid()), CommonReturnCode_Ok);
  EXPECT_EQ(SysFunc::kelpChmod("/tmp/f", 0600), CommonReturnCode_Ok);
  EXPECT_EQ(modeOf("/tmp/f"), 0600U);
  EXPECT_EQ(SysFunc::kelpRename("/tmp/f", "/tmp/g"), CommonReturnCode_Ok);
  EXPECT_EQ(SysFunc::kelpRm("/tmp/g"), CommonReturnCode_Ok);
  EXPECT_FALSE(exists("/tmp/g"));
}

TEST(SysFuncTest, RenameReplacesWhatIsThere) {
  makeFile("/tmp/from");
  makeFile("/tmp/to");
  ASSERT_EQ(truncate("/tmp/to", 0), 0);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpRename("/tmp/from", "/tmp/to"), CommonReturnCode_Ok);
  EXPECT_FALSE(exists("/tmp/from"));
  EXPECT_EQ(SysFunc::kelpStat("/tmp/to"), 5);
  EXPECT_TRUE(log.lines().empty());
}

TEST(SysFuncTest, FailedRenameLogsBothPathsAndErrno) {
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpRename("/tmp/from", "/tmp/to"), CommonReturnCode_IoError);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{errorLine(
                             "SysFunc.cpp", 0, "kelpRename",
                             "ERROR: Can't rename /tmp/from to /tmp/to errno: " + std::to_string(ENOENT) + "\n")});
}

TEST(SysFuncTest, ExecRunsTheCommandWithBusybox) {
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpExec("touch /tmp/f"), CommonReturnCode_Ok);
  EXPECT_EQ(lastSystemCommand(), "/bin/busybox touch /tmp/f");
  EXPECT_TRUE(exists("/tmp/f"));
  EXPECT_TRUE(log.lines().empty());
}

TEST(SysFuncTest, ExecLogsTheRawStatusOfACommandThatFailed) {
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpExec("false"), CommonReturnCode_IoError);
  EXPECT_EQ(SysFunc::kelpExec("sh -c 'exit 3'"), CommonReturnCode_IoError);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{busyboxError("false", 1 << 8), busyboxError("sh -c 'exit 3'", 3 << 8)}));
}

TEST(SysFuncTest, ExecLogsTheCommandThatCouldNotBeRun) {
  const CallFault fault(Call::System, EAGAIN);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpExec("touch /tmp/f"), CommonReturnCode_IoError);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{systemError("touch /tmp/f")});
  EXPECT_FALSE(exists("/tmp/f"));
}

TEST(SysFuncTest, ExecRunsALineOf255CharactersWhole) {
  const std::string name = "/tmp/" + std::string(231, 'y');
  ASSERT_EQ(("/bin/busybox touch " + name).size(), 255U);
  EXPECT_EQ(SysFunc::kelpExec("touch " + name), CommonReturnCode_Ok);
  EXPECT_EQ(lastSystemCommand(), "/bin/busybox touch " + name);
  EXPECT_TRUE(exists(name));
}

TEST(SysFuncTest, ExecRunsALongerLineCutAt255Characters) {
  const std::string cut = "touch /tmp/" + std::string(231, 'y');
  ASSERT_EQ(("/bin/busybox " + cut).size(), 255U);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpExec(cut + "zzz"), CommonReturnCode_Ok);
  EXPECT_EQ(lastSystemCommand(), "/bin/busybox " + cut);
  EXPECT_TRUE(exists("/tmp/" + std::string(231, 'y')));
  EXPECT_TRUE(log.lines().empty());
}

TEST(SysFuncTest, ExecLogsTheWholeCommandOfALineThatWasCut) {
  const std::string command = "false " + std::string(400, 'y');
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpExec(command), CommonReturnCode_IoError);
  const CallFault fault(Call::System, ENOMEM);
  EXPECT_EQ(SysFunc::kelpExec(command), CommonReturnCode_IoError);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{busyboxError(command, 1 << 8), systemError(command)}));
}

TEST(SysFuncTest, PathsAreWhatTheShellMakesOfThem) {
  EXPECT_EQ(SysFunc::kelpMkdir("/tmp/a; : > /tmp/b", 0755), CommonReturnCode_Ok);
  EXPECT_EQ(SysFunc::kelpMkdir("/tmp/c /tmp/d", 0755), CommonReturnCode_Ok);
  for (const char* path : {"/tmp/a", "/tmp/b", "/tmp/c", "/tmp/d"}) {
    EXPECT_TRUE(exists(path)) << path;
  }
}

// The child's end is then told to nobody.
TEST(SysFuncTest, ExecFailsThoughTheCommandRanWhereTheProcessIgnoresSigchld) {
  const auto previous = signal(SIGCHLD, SIG_IGN);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpExec("touch /tmp/f"), CommonReturnCode_IoError);
  signal(SIGCHLD, previous);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{systemError("touch /tmp/f")});
  EXPECT_TRUE(exists("/tmp/f"));
}

TEST(SysFuncTest, RmOfAMissingPathRunsAndLogsNothing) {
  const int systems = callCount(Call::System);
  const int unlinks = callCount(Call::Unlink);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpRm("/tmp/missing"), CommonReturnCode_IoError);
  EXPECT_EQ(callCount(Call::System), systems);
  EXPECT_EQ(callCount(Call::Unlink), unlinks);
  EXPECT_TRUE(log.lines().empty());
}

TEST(SysFuncTest, RmRemovesAFileWithoutACommand) {
  makeFile("/tmp/f");
  const int systems = callCount(Call::System);
  EXPECT_EQ(SysFunc::kelpRm("/tmp/f"), CommonReturnCode_Ok);
  EXPECT_FALSE(exists("/tmp/f"));
  EXPECT_EQ(callCount(Call::System), systems);
}

TEST(SysFuncTest, RmOfAFileThatCannotBeRemovedLogsNothing) {
  makeFile("/tmp/f");
  const CallFault fault(Call::Unlink, EBUSY);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpRm("/tmp/f"), CommonReturnCode_IoError);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_TRUE(log.lines().empty());
}

TEST(SysFuncTest, RmRemovesADirectoryWithAllThatIsInIt) {
  makeTree();
  EXPECT_EQ(SysFunc::kelpRm("/tmp/d"), CommonReturnCode_Ok);
  EXPECT_EQ(lastSystemCommand(), "/bin/busybox rm -Rf /tmp/d");
  EXPECT_FALSE(exists("/tmp/d"));
}

TEST(SysFuncTest, RmOfADirectoryReturnsTheFailureOfItsCommand) {
  makeTree();
  const CallFault fault(Call::System, EAGAIN);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpRm("/tmp/d"), CommonReturnCode_IoError);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{systemError("rm -Rf /tmp/d")});
  EXPECT_TRUE(exists("/tmp/d/file"));
}

TEST(SysFuncTest, RmOfADirectoryWhoseLineIsCutRemovesTheOneThatTheRestNames) {
  const std::string cut = "/tmp/" + std::string(230, 'y');
  ASSERT_EQ(("/bin/busybox rm -Rf " + cut).size(), 255U);
  ASSERT_EQ(mkdir(cut.c_str(), 0700), 0);
  ASSERT_EQ(mkdir((cut + "zzz").c_str(), 0700), 0);
  EXPECT_EQ(SysFunc::kelpRm(cut + "zzz"), CommonReturnCode_Ok);
  EXPECT_FALSE(exists(cut));
  EXPECT_TRUE(exists(cut + "zzz"));
}

TEST(SysFuncTest, RmOfALinkRemovesTheLinkAlone) {
  makeTree();
  for (const char* target : {"/tmp/d", "/tmp/d/file"}) {
    ASSERT_EQ(symlink(target, "/tmp/link"), 0);
    EXPECT_EQ(SysFunc::kelpRm("/tmp/link"), CommonReturnCode_Ok);
    EXPECT_FALSE(exists("/tmp/link"));
  }
  for (const char* path : kTree) {
    EXPECT_TRUE(exists(path)) << path;
  }
}

TEST(SysFuncTest, RmOfADirectoryLeavesAFileUnderItsOtherName) {
  makeTree();
  ASSERT_EQ(link("/tmp/d/below/file", "/tmp/other"), 0);
  EXPECT_EQ(SysFunc::kelpRm("/tmp/d"), CommonReturnCode_Ok);
  EXPECT_FALSE(exists("/tmp/d"));
  EXPECT_EQ(SysFunc::kelpStat("/tmp/other"), 5);
  EXPECT_EQ(modeOf("/tmp/other"), 0600U);
}

TEST(SysFuncTest, MkdirMakesParentsAndIgnoresTheUmask) {
  const UmaskGuard guard(077);
  EXPECT_EQ(SysFunc::kelpMkdir("/tmp/a/b", 0775), CommonReturnCode_Ok);
  EXPECT_EQ(lastSystemCommand(), "/bin/busybox mkdir -p -m 0775 /tmp/a/b");
  EXPECT_EQ(modeOf("/tmp/a/b"), 0775U);
  EXPECT_EQ(modeOf("/tmp/a"), 0777U);
}

TEST(SysFuncTest, MkdirShowsItsModeInFourOctalDigitsOrMore) {
  SysFunc::kelpMkdir("/tmp/a", 07);
  EXPECT_EQ(lastSystemCommand(), "/bin/busybox mkdir -p -m 0007 /tmp/a");
  SysFunc::kelpMkdir("/tmp/b", 01777);
  EXPECT_EQ(lastSystemCommand(), "/bin/busybox mkdir -p -m 1777 /tmp/b");
  SysFunc::kelpMkdir("/tmp/c", 012345);
  EXPECT_EQ(lastSystemCommand(), "/bin/busybox mkdir -p -m 12345 /tmp/c");
}

TEST(SysFuncTest, MkdirOfADirectoryThatExistsIsNoError) {
  ASSERT_EQ(mkdir("/tmp/a", 0700), 0);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpMkdir("/tmp/a", 0755), CommonReturnCode_Ok);
  EXPECT_EQ(modeOf("/tmp/a"), 0700U);
  EXPECT_TRUE(log.lines().empty());
}

TEST(SysFuncTest, MkdirPutsTheUmaskBackWhenItFails) {
  const UmaskGuard guard(027);
  makeFile("/tmp/f");
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpMkdir("/tmp/f/a", 0755), CommonReturnCode_IoError);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{busyboxError("mkdir -p -m 0755 /tmp/f/a", 1 << 8)});
}

TEST(SysFuncTest, MkdirPutsTheUmaskBackWhenNothingCouldBeRun) {
  const UmaskGuard guard(027);
  const CallFault fault(Call::System, EAGAIN);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpMkdir("/tmp/a", 0755), CommonReturnCode_IoError);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{systemError("mkdir -p -m 0755 /tmp/a")});
}

void makeDirectoryTwice(const char* path) {
  EXPECT_EQ(SysFunc::kelpMkdir(path, 0755), CommonReturnCode_Ok);
  EXPECT_EQ(SysFunc::kelpMkdir(path, 0755), CommonReturnCode_Ok);
}

// Who ends last decides what stays: one round alone might end well by chance.
TEST(SysFuncTest, MkdirOnTwoThreadsLeavesTheUmaskAsItWas) {
  for (int round = 0; round < 12; ++round) {
    const UmaskGuard guard(022);
    std::thread first(makeDirectoryTwice, "/tmp/a");
    std::thread second(makeDirectoryTwice, "/tmp/b");
    first.join();
    second.join();
  }
}

// The command is held up until another thread's file has been made.
TEST(SysFuncTest, MkdirLiftsTheUmaskOfTheWholeProcess) {
  const UmaskGuard guard(077);
  ASSERT_EQ(mkfifo("/tmp/gate", 0600), 0);
  std::thread maker([] { EXPECT_EQ(SysFunc::kelpMkdir("/tmp/a; cat < /tmp/gate", 0755), CommonReturnCode_Ok); });
  const int gate = open("/tmp/gate", O_WRONLY | O_CLOEXEC);
  close(open("/tmp/f", O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
  close(gate);
  maker.join();
  EXPECT_EQ(modeOf("/tmp/f"), 0666U);
}

TEST(SysFuncTest, ChownOfAMissingPathRunsAndLogsNothing) {
  const int systems = callCount(Call::System);
  const int chowns = callCount(Call::Chown);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpChown("/tmp/missing", 0), CommonReturnCode_IoError);
  EXPECT_EQ(callCount(Call::System), systems);
  EXPECT_EQ(callCount(Call::Chown), chowns);
  EXPECT_TRUE(log.lines().empty());
}

TEST(SysFuncTest, ChownOfAFileNeedsNoCommand) {
  makeFile("/tmp/f");
  const int systems = callCount(Call::System);
  const int chowns = callCount(Call::Chown);
  EXPECT_EQ(SysFunc::kelpChown("/tmp/f", geteuid()), CommonReturnCode_Ok);
  EXPECT_EQ(callCount(Call::System), systems);
  EXPECT_EQ(callCount(Call::Chown), chowns + 1);
}

TEST(SysFuncTest, ChownOfAFileThatTheKernelRefusesLogsNothing) {
  makeFile("/tmp/f");
  const CallFault fault(Call::Chown, EPERM);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpChown("/tmp/f", 0), CommonReturnCode_IoError);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_TRUE(log.lines().empty());
}

TEST(SysFuncTest, ChownOfADirectoryRunsACommandForAllThatIsInIt) {
  makeTree();
  EXPECT_EQ(SysFunc::kelpChown("/tmp/d", 0), CommonReturnCode_Ok);
  EXPECT_EQ(lastSystemCommand(), "/bin/busybox chown -R 0 /tmp/d");
}

TEST(SysFuncTest, ChownShowsTheOwnerAsASignedNumber) {
  makeTree();
  const CallFault fault(Call::System, EAGAIN, 0, 2);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpChown("/tmp/d", 2147483647), CommonReturnCode_IoError);
  EXPECT_EQ(SysFunc::kelpChown("/tmp/d", UINT32_MAX), CommonReturnCode_IoError);
  EXPECT_EQ(log.lines(),
            (std::vector<LogLine>{systemError("chown -R 2147483647 /tmp/d"), systemError("chown -R -1 /tmp/d")}));
}

TEST(SysFuncTest, ChownChangesTheOwnerAndKeepsTheGroup) {
  if (!KelpTest::isRealRoot()) {
    GTEST_SKIP() << "only root can give files away";
  }
  makeTree();
  makeFile("/tmp/f");
  ASSERT_EQ(chown("/tmp/f", 0, 4343), 0);
  for (const char* path : kTree) {
    ASSERT_EQ(chown(path, 0, 4343), 0);
  }
  EXPECT_EQ(SysFunc::kelpChown("/tmp/f", 4242), CommonReturnCode_Ok);
  EXPECT_EQ(SysFunc::kelpChown("/tmp/d", 4242), CommonReturnCode_Ok);
  for (const char* path : {"/tmp/f", "/tmp/d", "/tmp/d/below", "/tmp/d/file", "/tmp/d/below/file"}) {
    EXPECT_EQ(statusOf(path).st_uid, 4242U) << path;
    EXPECT_EQ(statusOf(path).st_gid, 4343U) << path;
  }
}

TEST(SysFuncTest, ChownFollowsALinkToAFileButNoneInOrToADirectory) {
  if (!KelpTest::isRealRoot()) {
    GTEST_SKIP() << "only root can give files away";
  }
  makeTree();
  makeFile("/tmp/target");
  ASSERT_EQ(symlink("/tmp/target", "/tmp/link"), 0);
  EXPECT_EQ(SysFunc::kelpChown("/tmp/link", 4242), CommonReturnCode_Ok);
  EXPECT_EQ(statusOf("/tmp/target").st_uid, 4242U);
  ASSERT_EQ(rename("/tmp/link", "/tmp/d/link"), 0);
  EXPECT_EQ(SysFunc::kelpChown("/tmp/d", 4343), CommonReturnCode_Ok);
  EXPECT_EQ(statusOf("/tmp/d/file").st_uid, 4343U);
  EXPECT_EQ(statusOf("/tmp/target").st_uid, 4242U);
  ASSERT_EQ(symlink("/tmp/d", "/tmp/link"), 0);
  EXPECT_EQ(SysFunc::kelpChown("/tmp/link", 4444), CommonReturnCode_Ok);
  EXPECT_EQ(statusOf("/tmp/d").st_uid, 4343U);
}

// Whoever may write to the directory can put another's file there by a second name.
TEST(SysFuncTest, ChownOfADirectoryReachesAFileWhoseOtherNameIsElsewhere) {
  if (!KelpTest::isRealRoot()) {
    GTEST_SKIP() << "only root can give files away";
  }
  makeTree();
  makeFile("/tmp/other");
  ASSERT_EQ(link("/tmp/other", "/tmp/d/below/second"), 0);
  EXPECT_EQ(SysFunc::kelpChown("/tmp/d", 4242), CommonReturnCode_Ok);
  EXPECT_EQ(statusOf("/tmp/other").st_uid, 4242U);
}

TEST(SysFuncTest, ChmodOfAMissingPathRunsAndLogsNothing) {
  const int systems = callCount(Call::System);
  const int chmods = callCount(Call::Chmod);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpChmod("/tmp/missing", 0755), CommonReturnCode_IoError);
  EXPECT_EQ(callCount(Call::System), systems);
  EXPECT_EQ(callCount(Call::Chmod), chmods);
  EXPECT_TRUE(log.lines().empty());
}

TEST(SysFuncTest, ChmodOfAFileNeedsNoCommand) {
  makeFile("/tmp/f");
  const int systems = callCount(Call::System);
  EXPECT_EQ(SysFunc::kelpChmod("/tmp/f", 04751), CommonReturnCode_Ok);
  EXPECT_EQ(modeOf("/tmp/f"), 04751U);
  EXPECT_EQ(callCount(Call::System), systems);
}

TEST(SysFuncTest, ChmodOfAFileThatTheKernelRefusesLogsNothing) {
  makeFile("/tmp/f");
  const CallFault fault(Call::Chmod, EPERM);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpChmod("/tmp/f", 0755), CommonReturnCode_IoError);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_TRUE(log.lines().empty());
}

TEST(SysFuncTest, ChmodOfADirectoryRunsACommandForAllThatIsInIt) {
  makeTree();
  EXPECT_EQ(SysFunc::kelpChmod("/tmp/d", 0755), CommonReturnCode_Ok);
  EXPECT_EQ(lastSystemCommand(), "/bin/busybox chmod -R 0755 /tmp/d");
  for (const char* path : kTree) {
    EXPECT_EQ(modeOf(path), 0755U) << path;
  }
}

TEST(SysFuncTest, ChmodFollowsTheLinkThatItIsGivenButNoneInADirectory) {
  makeTree();
  makeFile("/tmp/target", 0600);
  ASSERT_EQ(symlink("/tmp/target", "/tmp/link"), 0);
  EXPECT_EQ(SysFunc::kelpChmod("/tmp/link", 0644), CommonReturnCode_Ok);
  EXPECT_EQ(modeOf("/tmp/target"), 0644U);
  ASSERT_EQ(rename("/tmp/link", "/tmp/d/link"), 0);
  EXPECT_EQ(SysFunc::kelpChmod("/tmp/d", 0777), CommonReturnCode_Ok);
  EXPECT_EQ(modeOf("/tmp/d/file"), 0777U);
  EXPECT_EQ(modeOf("/tmp/target"), 0644U);
  ASSERT_EQ(symlink("/tmp/d", "/tmp/link"), 0);
  EXPECT_EQ(SysFunc::kelpChmod("/tmp/link", 0700), CommonReturnCode_Ok);
  EXPECT_EQ(modeOf("/tmp/d"), 0700U);
}

TEST(SysFuncTest, ChmodOfADirectoryReachesAFileWhoseOtherNameIsElsewhere) {
  makeTree();
  makeFile("/tmp/other", 0600);
  ASSERT_EQ(link("/tmp/other", "/tmp/d/below/second"), 0);
  EXPECT_EQ(SysFunc::kelpChmod("/tmp/d", 0777), CommonReturnCode_Ok);
  EXPECT_EQ(modeOf("/tmp/other"), 0777U);
}

TEST(SysFuncTest, ChmodOfADirectoryReturnsTheFailureOfItsCommand) {
  makeTree();
  const CallFault fault(Call::System, EAGAIN);
  LogCapture log;
  EXPECT_EQ(SysFunc::kelpChmod("/tmp/d", 0), CommonReturnCode_IoError);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{systemError("chmod -R 0000 /tmp/d")});
}

}  // namespace
