#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <memory>
#include <string>
#include <thread>

#include "FdOperator.h"
#include "support/CallFaults.h"
#include "support/Descriptors.h"
#include "support/LogCapture.h"
#include "support/Pipe.h"
#include "support/SignalStorm.h"

namespace {

using Kelp::FdOperator;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::isOpen;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::nextFreeFd;
using KelpTest::Pipe;
using KelpTest::ShortWrites;
using KelpTest::SignalStorm;
using KelpTest::traceLine;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr char kInterruptedRead[] = "*** Interrupted by a Signal! Retry read()!! ***";
constexpr char kInterruptedWait[] = "*** Interrupted by a Signal! Retry epoll_wait()!! ***";
constexpr char kTimeout[] = "###ERROR### epoll_wait() is Timeout.\n\n";

LogLine errorIn(const std::string& function, const std::string& message) {
  return errorLine("FdOperator.cpp", 0, function, message);
}

LogLine traceIn(const std::string& function, const std::string& message) {
  return traceLine("FdOperator.cpp", 0, function, message);
}

int openTemporary() {
  return open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
}

int temporaryWith(const std::string& content) {
  const int fd = openTemporary();
  EXPECT_EQ(write(fd, content.data(), content.size()), static_cast<ssize_t>(content.size()));
  lseek(fd, 0, SEEK_SET);
  return fd;
}

std::string contentOf(int fd) {
  std::string content(1 << 20, '\0');
  const ssize_t size = pread(fd, &content[0], content.size(), 0);
  content.resize(size > 0 ? static_cast<size_t>(size) : 0);
  return content;
}

std::string patternOf(size_t size) {
  std::string pattern(size, '\0');
  for (size_t i = 0; i < size; i++) {
    pattern[i] = static_cast<char>('a' + i % 23);
  }
  return pattern;
}

int sizeOf(const std::string& text) {
  return static_cast<int>(text.size());
}

// A source whose size is told, not measured.
class SizedFdOperator : public FdOperator {
 public:
  SizedFdOperator(int fd, long long size) : FdOperator(fd, true), m_size(size) {}
  long long size() const override { return m_size; }

 private:
  long long m_size;
};

TEST(FdOperatorTest, StartsWithoutADescriptor) {
  EXPECT_EQ(FdOperator(true).getFd(), -1);
}

TEST(FdOperatorTest, AdoptsTheGivenDescriptor) {
  const FdOperator fdOperator(5, false);
  EXPECT_EQ(fdOperator.getFd(), 5);
}

TEST(FdOperatorTest, RegistersUnderItsObjectType) {
  const LogCapture log;
  const FdOperator fdOperator(false);
  ASSERT_TRUE(Kelp::KelpObject::isObjectExist(&fdOperator));
  EXPECT_NE(log.traces().at(0).message.find("(ObjectType=16)"), std::string::npos);
}

TEST(FdOperatorTest, SetFdDoesNotCloseTheDescriptorBefore) {
  const Pipe pipe;
  FdOperator fdOperator(pipe.readEnd(), true);
  fdOperator.setFd(-1);
  EXPECT_EQ(fdOperator.getFd(), -1);
  EXPECT_TRUE(isOpen(pipe.readEnd()));
}

TEST(FdOperatorTest, DestructionClosesAnOwnedDescriptor) {
  Pipe pipe;
  const int fd = pipe.takeReadEnd();
  { const FdOperator fdOperator(fd, true); }
  EXPECT_FALSE(isOpen(fd));
}

TEST(FdOperatorTest, DestructionLeavesABorrowedDescriptorOpen) {
  const Pipe pipe;
  { const FdOperator fdOperator(pipe.readEnd(), false); }
  EXPECT_TRUE(isOpen(pipe.readEnd()));
}

TEST(FdOperatorTest, DestructionWithoutADescriptorLogsNothing) {
  const LogCapture log;
  { const FdOperator fdOperator(true); }
  EXPECT_TRUE(log.lines().empty());
}

// --- close

TEST(FdOperatorTest, CloseClosesAndForgetsTheDescriptor) {
  Pipe pipe;
  const int fd = pipe.takeReadEnd();
  FdOperator fdOperator(fd, false);
  EXPECT_EQ(fdOperator.close(), 0);
  EXPECT_FALSE(isOpen(fd));
  EXPECT_EQ(fdOperator.getFd(), -1);
}

TEST(FdOperatorTest, SecondCloseReturns0AndLogsNothing) {
  Pipe pipe;
  FdOperator fdOperator(pipe.takeReadEnd(), true);
  fdOperator.close();
  const LogCapture log;
  const int closes = callCount(Call::Close);
  EXPECT_EQ(fdOperator.close(), 0);
  EXPECT_EQ(callCount(Call::Close), closes);
  EXPECT_TRUE(log.lines().empty());
}

TEST(FdOperatorTest, FailedCloseIsLoggedAndForgetsTheDescriptor) {
  Pipe pipe;
  FdOperator fdOperator(pipe.takeReadEnd(), true);
  const LogCapture log;
  const CallFault fault(Call::Close, EIO);
  EXPECT_EQ(fdOperator.close(), -1);
  EXPECT_EQ(fdOperator.getFd(), -1);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{errorIn(
                             "close", "###ERROR### close() returns error(errno=" + std::to_string(EIO) + ").\n")});
}

// --- lseek, size

TEST(FdOperatorTest, LseekReturnsTheSystemCallsResult) {
  FdOperator fdOperator(temporaryWith("0123456789"), true);
  EXPECT_EQ(fdOperator.lseek(-3, SEEK_END), 7);
  char byte = 0;
  EXPECT_EQ(fdOperator.readNoTimeout(&byte, 1), 1);
  EXPECT_EQ(byte, '7');
}

TEST(FdOperatorTest, FailedLseekReturnsMinus1AndLogsNothing) {
  const Pipe pipe;
  FdOperator fdOperator(pipe.readEnd(), false);
  const LogCapture log;
  EXPECT_EQ(fdOperator.lseek(0, SEEK_SET), -1);
  EXPECT_EQ(errno, ESPIPE);
  EXPECT_TRUE(log.lines().empty());
}

TEST(FdOperatorTest, SizeReachesBeyond4GiB) {
  FdOperator fdOperator(openTemporary(), true);
  for (const long long size : {0x7FFFFFFFLL, 0x80000000LL, 0xFFFFFFFFLL, 0x100000000LL, 0x140000001LL}) {
    ASSERT_EQ(ftruncate(fdOperator.getFd(), size), 0);
    EXPECT_EQ(fdOperator.size(), size);
  }
}

TEST(FdOperatorTest, LseekReachesAsFarAsALong) {
  FdOperator fdOperator(openTemporary(), true);
  for (const long long size : {0x7FFFFFFFLL, 0x80000000LL, 0xFFFFFFFFLL, 0x100000000LL, 0x140000001LL}) {
    ASSERT_EQ(ftruncate(fdOperator.getFd(), size), 0);
    errno = 0;
    EXPECT_EQ(fdOperator.lseek(0, SEEK_END), size <= LONG_MAX ? size : -1);
    EXPECT_EQ(errno, size <= LONG_MAX ? 0 : EOVERFLOW);
    EXPECT_EQ(lseek(fdOperator.getFd(), 0, SEEK_CUR), size);
  }
}

TEST(FdOperatorTest, SizeIs0WithoutALogLineWhenItCannotBeTold) {
  const LogCapture log;
  EXPECT_EQ(FdOperator(false).size(), 0);
  EXPECT_TRUE(log.lines().empty());
}

// --- write

TEST(FdOperatorTest, WriteWritesAllHoweverSmallThePieces) {
  const std::string content = patternOf(1000);
  const FdOperator fdOperator(openTemporary(), true);
  const ShortWrites shortWrites(7);
  EXPECT_EQ(fdOperator.write(content.data(), sizeOf(content)), 1000);
  EXPECT_EQ(contentOf(fdOperator.getFd()), content);
}

TEST(FdOperatorTest, WriteOfNothingCallsNothing) {
  const int writes = callCount(Call::Write);
  EXPECT_EQ(FdOperator(false).write("", 0), 0);
  EXPECT_EQ(callCount(Call::Write), writes);
}

TEST(FdOperatorTest, WriteRepeatsACallThatWroteNothing) {
  const FdOperator fdOperator(openTemporary(), true);
  auto nothingWritten = std::make_unique<ShortWrites>(0);
  const int writes = callCount(Call::Write);
  std::thread release([&] {
    while (callCount(Call::Write) < writes + 10) {
      std::this_thread::yield();
    }
    nothingWritten.reset();
  });
  EXPECT_EQ(fdOperator.write("abc", 3), 3);
  release.join();
  EXPECT_EQ(contentOf(fdOperator.getFd()), "abc");
}

TEST(FdOperatorTest, FailedWriteReturnsMinus1AndLogsNothing) {
  const LogCapture log;
  EXPECT_EQ(FdOperator(false).write("abc", 3), -1);
  EXPECT_EQ(errno, EBADF);
  EXPECT_TRUE(log.lines().empty());
}

TEST(FdOperatorTest, WriteThatFailsHalfWayReturnsMinus1) {
  const FdOperator fdOperator(openTemporary(), true);
  const ShortWrites shortWrites(2);
  const CallFault fault(Call::Write, ENOSPC, 1);
  EXPECT_EQ(fdOperator.write("abcd", 4), -1);
  EXPECT_EQ(errno, ENOSPC);
}

TEST(FdOperatorTest, InterruptedWriteIsLoggedAndRepeated) {
  const FdOperator fdOperator(openTemporary(), true);
  const LogCapture log;
  const CallFault fault(Call::Write, EINTR, 0, 2);
  EXPECT_EQ(fdOperator.write("abc", 3), 3);
  EXPECT_EQ(contentOf(fdOperator.getFd()), "abc");
  const LogLine line = traceIn("write", kInterruptedRead);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{line, line}));
}

TEST(FdOperatorTest, WriteSurvivesAStormOfSignals) {
  Pipe pipe;
  pipe.fill();
  const std::string content = patternOf(300000);
  std::string received;
  const LogCapture log;
  const SignalStorm storm;
  std::thread reader([&] {
    storm.waitForMoreHits(50);
    char bytes[5000];
    ssize_t count = 0;
    while ((count = read(pipe.readEnd(), bytes, sizeof(bytes))) > 0) {
      received.append(bytes, static_cast<size_t>(count));
    }
  });
  EXPECT_EQ(FdOperator(pipe.writeEnd(), false).write(content.data(), sizeOf(content)), sizeOf(content));
  pipe.closeWriteEnd();
  reader.join();
  EXPECT_EQ(received.substr(received.size() - content.size()), content);
  EXPECT_TRUE(log.contains(traceIn("write", kInterruptedRead)));
}

// --- readNoTimeout

TEST(FdOperatorTest, ReadOfNothingCallsNothing) {
  const int reads = callCount(Call::Read);
  char byte = 0;
  EXPECT_EQ(FdOperator(false).readNoTimeout(&byte, 0), 0);
  EXPECT_EQ(callCount(Call::Read), reads);
}

TEST(FdOperatorTest, ReadAtTheEndOfTheFileReturnsTheShortCount) {
  const FdOperator fdOperator(temporaryWith("abc"), true);
  char bytes[10] = {};
  EXPECT_EQ(fdOperator.readNoTimeout(bytes, 10), 3);
  EXPECT_STREQ(bytes, "abc");
  EXPECT_EQ(fdOperator.readNoTimeout(bytes, 10), 0);
}

TEST(FdOperatorTest, ReadGoesOnUntilAllHasCome) {
  const Pipe pipe;
  std::thread writer([&] {
    for (const char byte : std::string("abcdef")) {
      EXPECT_EQ(write(pipe.writeEnd(), &byte, 1), 1);
      std::this_thread::yield();
    }
  });
  char bytes[7] = {};
  EXPECT_EQ(FdOperator(pipe.readEnd(), false).readNoTimeout(bytes, 6), 6);
  EXPECT_STREQ(bytes, "abcdef");
  writer.join();
}

TEST(FdOperatorTest, FailedReadReturnsMinus1AndLogsNothing) {
  const FdOperator directory(open("/tmp", O_RDONLY | O_DIRECTORY | O_CLOEXEC), true);
  const LogCapture log;
  char bytes[10];
  EXPECT_EQ(directory.readNoTimeout(bytes, 10), -1);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_TRUE(log.lines().empty());
}

TEST(FdOperatorTest, ReadThatFailsHalfWayReturnsMinus1) {
  const Pipe pipe;
  ASSERT_EQ(write(pipe.writeEnd(), "abc", 3), 3);
  const CallFault fault(Call::Read, EIO, 1);
  char bytes[10];
  EXPECT_EQ(FdOperator(pipe.readEnd(), false).readNoTimeout(bytes, 10), -1);
}

TEST(FdOperatorTest, InterruptedReadIsLoggedAndRepeated) {
  const FdOperator fdOperator(temporaryWith("abc"), true);
  const LogCapture log;
  const CallFault fault(Call::Read, EINTR, 0, 2);
  char bytes[3];
  EXPECT_EQ(fdOperator.readNoTimeout(bytes, 3), 3);
  const LogLine line = traceIn("readNoTimeout", kInterruptedRead);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{line, line}));
}

TEST(FdOperatorTest, ReadSurvivesAStormOfSignals) {
  const Pipe pipe;
  const LogCapture log;
  const SignalStorm storm;
  std::thread writer([&] {
    for (const char byte : std::string("abcdef")) {
      storm.waitForMoreHits(20);
      EXPECT_EQ(write(pipe.writeEnd(), &byte, 1), 1);
    }
  });
  char bytes[7] = {};
  EXPECT_EQ(FdOperator(pipe.readEnd(), false).readNoTimeout(bytes, 6), 6);
  EXPECT_STREQ(bytes, "abcdef");
  writer.join();
  EXPECT_TRUE(log.contains(traceIn("readNoTimeout", kInterruptedRead)));
}

// --- read

TEST(FdOperatorTest, ReadWithoutTimeoutUsesNoEpoll) {
  const FdOperator fdOperator(temporaryWith("abc"), true);
  const int creations = callCount(Call::EpollCreate);
  char bytes[4] = {};
  EXPECT_EQ(fdOperator.read(bytes, 3, -1), 3);
  EXPECT_STREQ(bytes, "abc");
  EXPECT_EQ(callCount(Call::EpollCreate), creations);
}

TEST(FdOperatorTest, TimedReadReturnsWhatComes) {
  const Pipe pipe;
  std::thread writer([&] { EXPECT_EQ(write(pipe.writeEnd(), "abc", 3), 3); });
  char bytes[4] = {};
  EXPECT_EQ(FdOperator(pipe.readEnd(), false).read(bytes, 3, 60000), 3);
  EXPECT_STREQ(bytes, "abc");
  writer.join();
}

TEST(FdOperatorTest, TimedReadTimesOutWithAnErrorLine) {
  const Pipe pipe;
  const LogCapture log;
  const auto start = Clock::now();
  char byte = 0;
  EXPECT_EQ(FdOperator(pipe.readEnd(), false).read(&byte, 1, 50), -1);
  EXPECT_GE(Clock::now() - start, milliseconds(49));
  EXPECT_EQ(log.lines(), std::vector<LogLine>{errorIn("read", kTimeout)});
}

TEST(FdOperatorTest, TimedReadOfNothingStillWaits) {
  const Pipe pipe;
  const FdOperator fdOperator(pipe.readEnd(), false);
  const LogCapture log;
  EXPECT_EQ(fdOperator.read(nullptr, 0, 0), -1);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{errorIn("read", kTimeout)});
  ASSERT_EQ(write(pipe.writeEnd(), "a", 1), 1);
  EXPECT_EQ(fdOperator.read(nullptr, 0, 60000), 0);
}

TEST(FdOperatorTest, TimeoutBoundsOnlyTheWaitForTheFirstByte) {
  const Pipe pipe;
  ASSERT_EQ(write(pipe.writeEnd(), "a", 1), 1);
  std::thread writer([&] {
    std::this_thread::sleep_for(milliseconds(60));
    EXPECT_EQ(write(pipe.writeEnd(), "b", 1), 1);
  });
  char bytes[3] = {};
  EXPECT_EQ(FdOperator(pipe.readEnd(), false).read(bytes, 2, 10), 2);
  EXPECT_STREQ(bytes, "ab");
  writer.join();
}

TEST(FdOperatorTest, InterruptedWaitIsLoggedAndRepeated) {
  const Pipe pipe;
  ASSERT_EQ(write(pipe.writeEnd(), "a", 1), 1);
  const LogCapture log;
  const CallFault fault(Call::EpollWait, EINTR, 0, 2);
  char byte = 0;
  EXPECT_EQ(FdOperator(pipe.readEnd(), false).read(&byte, 1, 60000), 1);
  const LogLine line = traceIn("read", kInterruptedWait);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{line, line}));
}

TEST(FdOperatorTest, TimeoutStartsAgainAfterAnInterruption) {
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  const Pipe pipe;
  for (bool wasInterrupted = false; !wasInterrupted;) {  // again when a busy machine let the signal miss the wait
    const LogCapture log;
    const itimerval alarm = {{0, 0}, {0, 100000}};
    const auto start = Clock::now();
    setitimer(ITIMER_REAL, &alarm, nullptr);
    char byte = 0;
    EXPECT_EQ(FdOperator(pipe.readEnd(), false).read(&byte, 1, 200), -1);
    const auto elapsed = Clock::now() - start;
    wasInterrupted = log.contains(traceIn("read", kInterruptedWait));
    if (wasInterrupted) {
      EXPECT_GE(elapsed, milliseconds(290));
    }
  }
}

TEST(FdOperatorTest, TimedReadSurvivesAStormOfSignals) {
  const Pipe pipe;
  const LogCapture log;
  const SignalStorm storm;
  std::thread writer([&] {
    storm.waitForMoreHits(50);
    EXPECT_EQ(write(pipe.writeEnd(), "a", 1), 1);
  });
  char byte = 0;
  EXPECT_EQ(FdOperator(pipe.readEnd(), false).read(&byte, 1, 60000), 1);
  writer.join();
  EXPECT_TRUE(log.contains(traceIn("read", kInterruptedWait)));
}

TEST(FdOperatorTest, FailedEpollCreationLeavesTwoErrorLines) {
  const Pipe pipe;
  const LogCapture log;
  const CallFault fault(Call::EpollCreate, EMFILE);
  char byte = 0;
  EXPECT_EQ(FdOperator(pipe.readEnd(), false).read(&byte, 1, 1000), -1);
  EXPECT_EQ(log.lines(),
            (std::vector<LogLine>{errorIn("read", "###ERROR### epoll_create() returns error!!!(errno=24)\n\n"),
                                  errorIn("read", "###ERROR### epoll_ctl() returns error!!!(errno=9)\n\n")}));
}

TEST(FdOperatorTest, TimedReadFailsWhenDescriptorsAreExhausted) {
  const Pipe pipe;
  const FdOperator fdOperator(pipe.readEnd(), false);
  char byte = 0;
  EXPECT_EQ(fdOperator.read(&byte, 1, 0), -1);  // a sanitizer's first look at an object takes a descriptor
  rlimit limit;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlim_t normal = limit.rlim_cur;
  const LogCapture log;
  limit.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_EQ(fdOperator.read(&byte, 1, 1000), -1);
  limit.rlim_cur = normal;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_EQ(log.lines().size(), 2U);
}

TEST(FdOperatorTest, TimedReadOfAPlainFileFailsWithAnErrorLine) {
  const FdOperator fdOperator(temporaryWith("abc"), true);
  const LogCapture log;
  char byte = 0;
  EXPECT_EQ(fdOperator.read(&byte, 1, 1000), -1);
  EXPECT_EQ(log.lines(),
            std::vector<LogLine>{errorIn("read", "###ERROR### epoll_ctl() returns error!!!(errno=1)\n\n")});
}

TEST(FdOperatorTest, FailedWaitReturnsMinus1WithAnErrorLine) {
  const Pipe pipe;
  const LogCapture log;
  const CallFault fault(Call::EpollWait, EIO);
  char byte = 0;
  EXPECT_EQ(FdOperator(pipe.readEnd(), false).read(&byte, 1, 1000), -1);
  EXPECT_EQ(log.lines(),
            std::vector<LogLine>{errorIn("read", "###ERROR### epoll_wait() returns error!!(errno=5)\n\n")});
}

TEST(FdOperatorTest, TimedReadLosesNoDescriptorHoweverItEnds) {
  const Pipe pipe;
  const FdOperator fdOperator(pipe.readEnd(), false);
  const FdOperator plainFile(openTemporary(), true);
  const int before = nextFreeFd();
  char byte = 0;
  EXPECT_EQ(plainFile.read(&byte, 1, 0), -1);
  EXPECT_EQ(fdOperator.read(&byte, 1, 0), -1);
  {
    const CallFault fault(Call::EpollWait, EIO);
    EXPECT_EQ(fdOperator.read(&byte, 1, 0), -1);
  }
  ASSERT_EQ(write(pipe.writeEnd(), "a", 1), 1);
  EXPECT_EQ(fdOperator.read(&byte, 1, 0), 1);
  EXPECT_EQ(nextFreeFd(), before);
}

// For a signal handler that changes the descriptor while the wait goes on.
FdOperator* s_pWaiting = nullptr;
int s_writeEnd = -1;

void changeTheDescriptor(int /*signal*/) {
  s_pWaiting->setFd(s_writeEnd);
  if (write(s_writeEnd, "a", 1) != 1) {
    _exit(1);
  }
}

void readWhileTheDescriptorChanges() {
  const Pipe pipe;
  FdOperator fdOperator(pipe.readEnd(), false);
  s_pWaiting = &fdOperator;
  s_writeEnd = pipe.writeEnd();
  struct sigaction action = {};
  action.sa_handler = changeTheDescriptor;
  sigaction(SIGALRM, &action, nullptr);
  const itimerval alarm = {{0, 0}, {0, 200000}};
  setitimer(ITIMER_REAL, &alarm, nullptr);
  char byte = 0;
  fdOperator.read(&byte, 1, 60000);
}

TEST(FdOperatorDeathTest, DescriptorChangedDuringTheWaitEndsTheProcess) {
  EXPECT_DEATH(readWhileTheDescriptorChanges(),
               "FdOperator\\.cpp:[0-9]+: .*read.*: Assertion `event\\.data\\.fd == m_fd' failed");
}

// --- copy

TEST(FdOperatorTest, CopyCopiesTheWholeContentFromAnyPosition) {
  const std::string content = patternOf(3 * 4096 + 17);
  FdOperator source(temporaryWith(content), true);
  FdOperator destination(openTemporary(), true);
  source.lseek(100, SEEK_SET);
  EXPECT_EQ(source.copy(destination), sizeOf(content));
  EXPECT_EQ(contentOf(destination.getFd()), content);
}

TEST(FdOperatorTest, CopyNeitherRewindsNorCutsTheDestination) {
  FdOperator source(temporaryWith("XY"), true);
  FdOperator destination(temporaryWith("abcdef"), true);
  destination.lseek(2, SEEK_SET);
  EXPECT_EQ(source.copy(destination), 2);
  EXPECT_EQ(contentOf(destination.getFd()), "abXYef");
}

TEST(FdOperatorTest, CopyOfAnEmptySourceReturns0WithoutWriting) {
  FdOperator source(openTemporary(), true);
  FdOperator destination(openTemporary(), true);
  const int writes = callCount(Call::Write);
  EXPECT_EQ(source.copy(destination), 0);
  EXPECT_EQ(callCount(Call::Write), writes);
}

TEST(FdOperatorTest, CopyAsksTheVirtualSizeForTheTotal) {
  const std::string content = patternOf(3 * 4096);
  SizedFdOperator source(temporaryWith(content), 4097);
  FdOperator destination(openTemporary(), true);
  EXPECT_EQ(source.copy(destination), 2 * 4096);
}

TEST(FdOperatorTest, CopyEndsWhereTheSourceEnds) {
  SizedFdOperator source(temporaryWith("abc"), 100000);
  FdOperator destination(openTemporary(), true);
  EXPECT_EQ(source.copy(destination), 3);
}

TEST(FdOperatorTest, CopyOfWhatCannotBeRewoundFails) {
  const Pipe pipe;
  FdOperator source(pipe.readEnd(), false);
  FdOperator destination(openTemporary(), true);
  EXPECT_EQ(source.copy(destination), -1);
}

TEST(FdOperatorTest, CopyFailsWhenReadingFails) {
  FdOperator source(temporaryWith(patternOf(10000)), true);
  FdOperator destination(openTemporary(), true);
  const CallFault fault(Call::Read, EIO, 1);
  EXPECT_EQ(source.copy(destination), -1);
}

TEST(FdOperatorTest, CopyOfADirectoryFails) {
  FdOperator source(open("/tmp", O_RDONLY | O_DIRECTORY | O_CLOEXEC), true);
  SizedFdOperator sized(dup(source.getFd()), 4096);
  FdOperator destination(openTemporary(), true);
  EXPECT_EQ(sized.copy(destination), -1);
  EXPECT_EQ(contentOf(destination.getFd()), "");
}

TEST(FdOperatorTest, CopyFailsWhenWritingFails) {
  FdOperator source(temporaryWith(patternOf(10000)), true);
  FdOperator destination(openTemporary(), true);
  const CallFault fault(Call::Write, ENOSPC, 1);
  EXPECT_EQ(source.copy(destination), -1);
}

TEST(FdOperatorTest, CopyOfMoreThanTheResultCanTellFailsWithoutWriting) {
  FdOperator source(openTemporary(), true);
  FdOperator destination(openTemporary(), true);
  const int writes = callCount(Call::Write);
  for (const long long size : {INT_MAX + 1LL, 0x100000003LL, 0x180000000LL}) {
    ASSERT_EQ(ftruncate(source.getFd(), size), 0);
    EXPECT_EQ(source.copy(destination), -1) << size;
  }
  EXPECT_EQ(callCount(Call::Write), writes);
}

TEST(FdOperatorTest, CopyOfTheLargestCountReportsItEvenWhenTheSourceGrows) {
  SizedFdOperator source(openTemporary(), INT_MAX);
  ASSERT_EQ(ftruncate(source.getFd(), INT_MAX + 4097LL), 0);
  FdOperator destination(open("/dev/null", O_WRONLY | O_CLOEXEC), true);
  EXPECT_EQ(source.copy(destination), INT_MAX);
  EXPECT_EQ(source.lseek(0, SEEK_CUR), INT_MAX);
}

}  // namespace
