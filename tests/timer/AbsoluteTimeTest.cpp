#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <string>
#include <thread>
#include <vector>

#include "AbsoluteTime.h"
#include "support/CallFaults.h"
#include "support/Descriptors.h"
#include "support/LogCapture.h"

namespace {

using Kelp::AbsoluteTime;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::LogCapture;
using KelpTest::LogLine;

constexpr char kDirectory[] = "/mnt/system/stats/uptime_total";
constexpr char kFile[] = "/mnt/system/stats/uptime_total/total_lapsetime_min.bin";

void writeUptime(const std::string& bytes) {
  mkdir("/mnt/system/stats", 0755);
  mkdir(kDirectory, 0755);
  const int fd = open(kFile, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  ASSERT_NE(fd, -1);
  ASSERT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  close(fd);
}

std::vector<LogLine> failedOpen() {
  return {KelpTest::errorLine("AbsoluteTime.cpp", 44, "getTime", "absoluteTime = -1\n")};
}

std::vector<LogLine> failedRead(int value) {
  return {KelpTest::errorLine("AbsoluteTime.cpp", 51, "getTime", "absoluteTime = " + std::to_string(value) + "\n")};
}

TEST(AbsoluteTimeTest, ReadsTheMinutesWithoutALine) {
  writeUptime(std::string("\x40\x1F\x00\x00", 4));
  const LogCapture log;
  EXPECT_EQ(AbsoluteTime::getTime(), 8000);
  EXPECT_TRUE(log.lines().empty());
}

TEST(AbsoluteTimeTest, FollowsTheFile) {
  writeUptime(std::string("\x00\x00\x00\x00", 4));
  EXPECT_EQ(AbsoluteTime::getTime(), 0);
  writeUptime("\xFF\xFF\xFF\x7F");
  EXPECT_EQ(AbsoluteTime::getTime(), 2147483647);
}

TEST(AbsoluteTimeTest, IgnoresWhatFollowsTheFirstFourBytes) {
  writeUptime(std::string("\x40\x1F\x00\x00", 4) + "rest of the file");
  EXPECT_EQ(AbsoluteTime::getTime(), 8000);
  ASSERT_EQ(truncate(kFile, 0x140000000LL), 0);
  EXPECT_EQ(AbsoluteTime::getTime(), 8000);
}

TEST(AbsoluteTimeTest, NegativeNumbersAreGivenAsTheyStand) {
  const LogCapture log;
  writeUptime("\xFE\xFF\xFF\xFF");
  EXPECT_EQ(AbsoluteTime::getTime(), -2);
  writeUptime("\xFF\xFF\xFF\xFF");
  EXPECT_EQ(AbsoluteTime::getTime(), -1);
  EXPECT_TRUE(log.lines().empty());
}

TEST(AbsoluteTimeTest, MissingFileIsMinusOneWithOneLine) {
  const LogCapture log;
  unlink(kFile);
  EXPECT_EQ(AbsoluteTime::getTime(), -1);
  EXPECT_EQ(log.lines(), failedOpen());
}

TEST(AbsoluteTimeTest, ShortFileIsMinusOneWithALineThatShowsWhatWasRead) {
  const LogCapture log;
  writeUptime("\x40\x1F");
  EXPECT_EQ(AbsoluteTime::getTime(), -1);
  EXPECT_EQ(log.lines(), failedRead(static_cast<int>(0xFFFF1F40)));
}

TEST(AbsoluteTimeTest, EmptyFileIsMinusOneWithOneLine) {
  const LogCapture log;
  writeUptime("");
  EXPECT_EQ(AbsoluteTime::getTime(), -1);
  EXPECT_EQ(log.lines(), failedRead(-1));
}

TEST(AbsoluteTimeTest, FailedReadIsMinusOneWithOneLine) {
  writeUptime("abcd");
  const LogCapture log;
  const CallFault fault(Call::Read, EIO);
  EXPECT_EQ(AbsoluteTime::getTime(), -1);
  EXPECT_EQ(fault.hits(), 1);
  EXPECT_EQ(log.lines(), failedRead(-1));
}

TEST(AbsoluteTimeTest, DirectoryInTheFilesPlaceIsMinusOne) {
  const LogCapture log;
  writeUptime("");
  unlink(kFile);
  ASSERT_EQ(mkdir(kFile, 0755), 0);
  EXPECT_EQ(AbsoluteTime::getTime(), -1);
  EXPECT_EQ(log.lines(), failedRead(-1));
  rmdir(kFile);
}

// The descriptor of this process that leads to the path and is not `other`; -1 where there is none.
int otherDescriptorOf(const std::string& path, int other) {
  for (int fd = 0; fd < 100; ++fd) {
    char target[PATH_MAX];
    const ssize_t size = readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), target, sizeof(target));
    if (fd != other && size > 0 && std::string(target, static_cast<size_t>(size)) == path) {
      return fd;
    }
  }
  return -1;
}

// A FIFO in the file's place holds the call until it gets its 4 bytes.
TEST(AbsoluteTimeTest, OpensTheFileForReadingAndWithNoOtherFlag) {
  writeUptime("");
  unlink(kFile);
  ASSERT_EQ(mkfifo(kFile, 0600), 0);
  std::thread reader([] { EXPECT_EQ(AbsoluteTime::getTime(), 8000); });
  const int writer = open(kFile, O_WRONLY | O_CLOEXEC);
  int fd = -1;
  while (fd == -1) {  // the kernel may let the writer go on before the reader has its descriptor
    std::this_thread::yield();
    fd = otherDescriptorOf(kFile, writer);
  }
  EXPECT_EQ(fcntl(fd, F_GETFL) & (O_ACCMODE | O_APPEND | O_NONBLOCK | O_SYNC), O_RDONLY);
  EXPECT_FALSE(KelpTest::isCloseOnExec(fd));
  EXPECT_EQ(write(writer, "\x40\x1F\x00\x00", 4), 4);
  reader.join();
  close(writer);
  unlink(kFile);
}

TEST(AbsoluteTimeTest, LeavesNoDescriptorOpen) {
  const int fd = KelpTest::nextFreeFd();
  writeUptime("abcd");
  AbsoluteTime::getTime();
  EXPECT_EQ(KelpTest::nextFreeFd(), fd);
  writeUptime("ab");
  AbsoluteTime::getTime();
  EXPECT_EQ(KelpTest::nextFreeFd(), fd);
}

}  // namespace
