// Files and the system: descriptors and files are read, copied and changed, directories and log files made and removed,
// memory handed out, and the few files read that the platform keeps.

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "AbsoluteTime.h"
#include "Base64EncDec.h"
#include "FileOperator.h"
#include "FilePathManager.h"
#include "KelpDebug.h"
#include "SysFunc.h"
#include "starvation/LoopLines.h"
#include "starvation/Starvation.h"
#include "support/FileStatus.h"
#include "support/TextFile.h"

namespace {

using Kelp::FileOperator;
using Kelp::SysFunc;
using KelpTest::asserts;
using KelpTest::Call;
using KelpTest::errorLine;
using KelpTest::errorOf;
using KelpTest::goesOn;
using KelpTest::LogLine;
using KelpTest::UncountedCalls;

constexpr char kSource[] = "/tmp/source";
constexpr char kCopy[] = "/tmp/copy";
constexpr char kMoved[] = "/tmp/moved";
constexpr char kDirectory[] = "/tmp/directory";

// --- Descriptors and files

void putSource() {
  KelpTest::writeText(kSource, "contents");
  unlink(kCopy);
}

// Reads the file with a time-out, finds its size, copies it, and removes the copy.
std::string liveWithFiles() {
  FileOperator source(kSource, false);
  FileOperator copy(kCopy, true);
  std::string answers = std::to_string(source.open(O_RDWR, 0));
  answers += " " + std::to_string(copy.open(O_WRONLY | O_CREAT, 0600));
  answers += " " + std::to_string(source.size());
  answers += " " + std::to_string(source.copy(copy));
  answers += " " + std::to_string(source.lseek(0, SEEK_SET));
  return answers;
}

// --- A time-out

std::string readWithATimeOut() {
  int fds[2];
  {
    const UncountedCalls own;
    EXPECT_EQ(pipe2(fds, O_CLOEXEC), 0);
    EXPECT_EQ(write(fds[1], "a", 1), 1);
    close(fds[1]);
  }
  const Kelp::FdOperator fdOperator(fds[0], true);
  char byte = 0;
  return std::to_string(fdOperator.read(&byte, 1, 1000));
}

// --- System functions

void putFiles() {
  putSource();
  rmdir(kDirectory);
  unlink(kMoved);
}

std::string liveWithTheSystem() {
  std::string answers = std::to_string(SysFunc::kelpStat(kSource));
  answers += " " + std::to_string(SysFunc::kelpMkdir(kDirectory, 0755));
  answers += " " + std::to_string(SysFunc::kelpChmod(kSource, 0640));
  answers += " " + std::to_string(SysFunc::kelpChown(kSource, 0));
  answers += " " + std::to_string(SysFunc::kelpRename(kSource, kMoved));
  answers += " " + std::to_string(SysFunc::kelpRm(kMoved));
  answers += " " + std::to_string(SysFunc::kelpRm(kDirectory));
  return answers;
}

// --- Log files: one is made together with its directory, and removed together with one that was rotated away

constexpr char kLogDirectory[] = "/var/log/kelp";
constexpr char kLogFile[] = "/var/log/kelp/pf_starved.log";
constexpr char kRotatedFile[] = "/mnt/log/kelp/pf_starved.log.1";

void putLogFiles() {
  unlink(kLogFile);
  rmdir(kLogDirectory);
  KelpTest::writeText(kRotatedFile, "a line");
  umask(077);  // then the mode of a log file is given to it by a command, if by any
}

std::string modeOfLogFile() {
  const UncountedCalls own;
  const mode_t mode = KelpTest::exists(kLogFile) ? KelpTest::modeOf(kLogFile) : 0;
  return mode == 0 ? "none" : mode == 0644 ? "readable" : "private";
}

std::string leftLogFiles() {
  const UncountedCalls own;
  return std::string(KelpTest::exists(kLogFile) ? ", left" : "") +
         (KelpTest::exists(kRotatedFile) ? ", rotated one left" : "");
}

std::string liveWithLogFiles() {
  KelpDebugGenerateLogFile("starved", 0);
  std::string story = modeOfLogFile();
  KelpDebugRemoveLogFile("starved");
  story += leftLogFiles();
  return story;
}

// --- Memory

std::string liveWithMemory() {
  void* block = SysFunc::kelpMalloc(10);
  if (block == nullptr) {
    return "none";
  }
  memset(block, 'x', 10);
  void* const larger = SysFunc::kelpRealloc(block, 100000);
  const bool isKept = static_cast<char*>(larger != nullptr ? larger : block)[9] == 'x';
  SysFunc::kelpFree(larger != nullptr ? larger : block);
  return std::string(larger != nullptr ? "larger" : "as before") + (isKept ? "" : ", lost");
}

// --- What the platform keeps

constexpr char kUptimeDirectory[] = "/mnt/system/stats/uptime_total";

void putUptime() {
  mkdir("/mnt/system/stats", 0755);
  mkdir(kUptimeDirectory, 0755);
  KelpTest::writeText(std::string(kUptimeDirectory) + "/total_lapsetime_min.bin", std::string("\x40\x1F\0\0", 4));
}

std::string liveWithThePlatform() {
  std::string answers = std::to_string(Kelp::AbsoluteTime::getTime());
  answers += Kelp::FilePathManager::getKelpCoreBinDirPath().empty() ? " none" : " path";
  return answers;
}

LogLine notOpenLine() {
  return errorLine("FileOperator.cpp", 0, "open",
                   "###ERROR### open() returns error(errno=" + std::to_string(errorOf(Call::Open)) + ").\n");
}

LogLine notUnlinkedLine(int error) {
  return errorLine("FileOperator.cpp", 0, "~FileOperator",
                   "###ERROR### unlink() returns error(errno=" + std::to_string(error) + ").\n");
}

LogLine notWaitedLine(const std::string& call, int error, const std::string& marks) {
  return errorLine("FdOperator.cpp", 0, "read",
                   "###ERROR### " + call + " returns error" + marks + "(errno=" + std::to_string(error) + ")\n\n");
}

LogLine notExecutedLine(const std::string& command) {
  return errorLine("SysFunc.cpp", 0, "kelpExec", "ERROR: system " + command + "\n");
}

// The command was run, and had nothing to do its work on.
LogLine failedCommandLine(const std::string& command) {
  return errorLine("SysFunc.cpp", 0, "kelpExec", "BUSYBOX error: " + command + " (code = 256)\n");
}

}  // namespace

TEST(SystemStarvationTest, EveryCallThatFailsOnFilesEndsAsStated) {
  KelpTest::Starvation starvation({putSource, liveWithFiles, nullptr});
  const char* const all = "0 0 8 8 0";
  const KelpTest::Ending notCopied = goesOn("0 0 8 -1 0");
  starvation.expect(Call::Open, {goesOn("-1 0 8 -1 -1", {notOpenLine()}),
                                 goesOn("0 -1 8 -1 0", {notOpenLine(), notUnlinkedLine(ENOENT)})});
  starvation.expect(Call::Fstat, {goesOn(all)});
  starvation.expect(Call::Lseek, {notCopied, goesOn("0 0 8 8 -1")});
  starvation.expect(Call::Read, {notCopied});
  starvation.expect(Call::Write, {notCopied});
  starvation.expect(Call::Unlink, {goesOn(all, {notUnlinkedLine(errorOf(Call::Unlink))})});
  starvation.expect(Call::Close, {goesOn(all, {KelpTest::failedCloseLine()})});
  starvation.failEachCall();
}

TEST(SystemStarvationTest, EveryNewThatFailsOnFilesAbortsTheProcess) {
  KelpTest::Starvation({putSource, liveWithFiles, nullptr}).failEachNew();
}

TEST(SystemStarvationTest, EveryCallThatFailsWithATimeOutEndsAsStated) {
  KelpTest::Starvation starvation({nullptr, readWithATimeOut, nullptr});
  starvation.expect(Call::EpollCreate,
                    {goesOn("-1", {notWaitedLine("epoll_create()", errorOf(Call::EpollCreate), "!!!"),
                                   notWaitedLine("epoll_ctl()", EBADF, "!!!")})});
  starvation.expect(Call::EpollCtl, {goesOn("-1", {notWaitedLine("epoll_ctl()", errorOf(Call::EpollCtl), "!!!")})});
  starvation.expect(Call::EpollWait, {goesOn("-1", {notWaitedLine("epoll_wait()", errorOf(Call::EpollWait), "!!")})});
  starvation.expect(Call::Read, {goesOn("-1")});
  starvation.expect(Call::Close, {goesOn("1"), goesOn("1", {KelpTest::failedCloseLine()})});
  starvation.failEachCall();
}

TEST(SystemStarvationTest, EveryCallThatFailsInSystemFunctionsEndsAsStated) {
  KelpTest::Starvation starvation({putFiles, liveWithTheSystem, nullptr});
  starvation.expect(Call::Stat, {goesOn("-1 0 0 0 0 0 0"), goesOn("8 0 15 0 0 0 0"), goesOn("8 0 0 15 0 0 0"),
                                 goesOn("8 0 0 0 0 15 0"), goesOn("8 0 0 0 0 0 15")});
  starvation.expect(Call::Chmod, {goesOn("8 0 15 0 0 0 0")});
  starvation.expect(Call::Chown, {goesOn("8 0 0 15 0 0 0")});
  starvation.expect(Call::Rename, {goesOn("8 0 0 0 15 15 0",
                                          {errorLine("SysFunc.cpp", 0, "kelpRename",
                                                     std::string("ERROR: Can't rename ") + kSource + " to " + kMoved +
                                                         " errno: " + std::to_string(errorOf(Call::Rename)) + "\n")})});
  starvation.expect(Call::Unlink, {goesOn("8 0 0 0 0 15 0")});
  starvation.expect(Call::System,
                    {goesOn("8 15 0 0 0 0 15", {notExecutedLine(std::string("mkdir -p -m 0755 ") + kDirectory)}),
                     goesOn("8 0 0 0 0 0 15", {notExecutedLine(std::string("rm -Rf ") + kDirectory)})});
  starvation.failEachCall();
}

TEST(SystemStarvationTest, EveryNewThatFailsInSystemFunctionsAbortsTheProcess) {
  KelpTest::Starvation({putFiles, liveWithTheSystem, nullptr}).failEachNew();
}

TEST(SystemStarvationTest, EveryCallThatFailsOnLogFilesEndsAsStated) {
  KelpTest::Starvation starvation({putLogFiles, liveWithLogFiles, nullptr});
  const std::string touch = std::string("touch ") + kLogFile;
  const std::string chown = std::string("chown root.root ") + kLogFile;
  const std::string chmod = std::string("chmod 644 ") + kLogFile;
  starvation.expect(Call::Stat, {goesOn("readable")});
  starvation.expect(Call::System,
                    {goesOn("none", {notExecutedLine(std::string("mkdir -p -m 0755 ") + kLogDirectory),
                                     failedCommandLine(touch), failedCommandLine(chown), failedCommandLine(chmod)}),
                     goesOn("none", {notExecutedLine(touch), failedCommandLine(chown), failedCommandLine(chmod)}),
                     goesOn("readable", {notExecutedLine(chown)}), goesOn("private", {notExecutedLine(chmod)}),
                     goesOn("readable, left", {notExecutedLine("rm -f /var/log/kelp/pf_starved.log*")}),
                     goesOn("readable, rotated one left", {notExecutedLine("rm -f /mnt/log/kelp/pf_starved.log*")})});
  starvation.failEachCall();
}

TEST(SystemStarvationTest, EveryNewThatFailsOnLogFilesAbortsTheProcess) {
  KelpTest::Starvation({putLogFiles, liveWithLogFiles, nullptr}).failEachNew();
}

TEST(SystemStarvationTest, EveryAllocationThatFailsIsToldByANull) {
  KelpTest::Starvation starvation({nullptr, liveWithMemory, nullptr});
  starvation.expect(Call::Malloc, {goesOn("none")});
  starvation.expect(Call::Realloc, {goesOn("as before")});
  starvation.failEachCall();
}

TEST(SystemStarvationTest, EveryCallThatFailsOnThePlatformEndsAsStated) {
  KelpTest::Starvation starvation({putUptime, liveWithThePlatform, nullptr});
  starvation.expect(Call::Open,
                    {goesOn("-1 path", {errorLine("AbsoluteTime.cpp", 44, "getTime", "absoluteTime = -1\n")})});
  starvation.expect(Call::Read,
                    {goesOn("-1 path", {errorLine("AbsoluteTime.cpp", 51, "getTime", "absoluteTime = -1\n")})});
  starvation.expect(Call::Close, {goesOn("8000 path")});
  starvation.expect(Call::Readlink, {asserts("FilePathManager.cpp", 0, "size > 0")});
  starvation.failEachCall();
}
