#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "FileOperator.h"
#include "support/CallFaults.h"
#include "support/FileStatus.h"
#include "support/LogCapture.h"
#include "support/TextFile.h"

namespace {

using Kelp::FileOperator;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::exists;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::writeText;

constexpr char kPath[] = "/tmp/file";
constexpr char kMissingPath[] = "/tmp/missing";

LogLine errorIn(const std::string& function, const std::string& message) {
  return errorLine("FileOperator.cpp", 0, function, message);
}

TEST(FileOperatorTest, KeepsItsPathAndStartsClosed) {
  std::string path = kPath;
  const FileOperator file(path, false);
  path = "changed";
  EXPECT_EQ(file.getPath(), kPath);
  EXPECT_EQ(file.getFd(), -1);
}

TEST(FileOperatorTest, RegistersUnderItsObjectType) {
  const LogCapture log;
  const FileOperator file(kPath, false);
  ASSERT_TRUE(Kelp::KelpObject::isObjectExist(&file));
  EXPECT_NE(log.traces().at(0).message.find("(ObjectType=17)"), std::string::npos);
}

// --- open

TEST(FileOperatorTest, OpenReturns0AndReads) {
  writeText(kPath, "abc");
  FileOperator file(kPath, false);
  const LogCapture log;
  ASSERT_EQ(file.open(O_RDONLY, 0), 0);
  char bytes[10] = {};
  EXPECT_EQ(file.read(bytes, 10, -1), 3);
  EXPECT_STREQ(bytes, "abc");
  EXPECT_TRUE(log.lines().empty());
}

TEST(FileOperatorTest, OpenSetsCloseOnExec) {
  writeText(kPath, "");
  FileOperator file(kPath, false);
  ASSERT_EQ(file.open(O_RDONLY, 0), 0);
  EXPECT_NE(fcntl(file.getFd(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(FileOperatorTest, OpenCreatesWithTheGivenMode) {
  umask(022);
  unlink(kPath);
  FileOperator file(kPath, false);
  ASSERT_EQ(file.open(O_CREAT | O_WRONLY, 0640), 0);
  struct stat status = {};
  ASSERT_EQ(stat(kPath, &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST(FileOperatorTest, FailedOpenReturnsMinus1WithAnErrorLine) {
  FileOperator file(kMissingPath, false);
  const LogCapture log;
  EXPECT_EQ(file.open(O_RDONLY, 0), -1);
  EXPECT_EQ(file.getFd(), -1);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{errorIn("open", "###ERROR### open() returns error(errno=2).\n")});
}

TEST(FileOperatorDeathTest, CreatingWithoutAModeEndsTheProcess) {
  FileOperator file(kPath, false);
  EXPECT_DEATH(
      file.open(O_CREAT | O_WRONLY, 0),
      "FileOperator\\.cpp:[0-9]+: .*open.*: Assertion `!\\( \\(flags & 0100\\) && \\(mode == 0\\) \\)' failed");
}

// --- size

TEST(FileOperatorTest, SizeOfAnUnopenedFileIsThatOfTheFileAtItsPath) {
  writeText(kPath, "abcd");
  const LogCapture log;
  EXPECT_EQ(FileOperator(kPath, false).size(), 4);
  EXPECT_TRUE(log.lines().empty());
}

TEST(FileOperatorTest, SizeOfAnOpenFileIsThatOfTheOpenOne) {
  writeText(kPath, "abcd");
  FileOperator file(kPath, false);
  ASSERT_EQ(file.open(O_RDONLY, 0), 0);
  ASSERT_EQ(unlink(kPath), 0);
  writeText(kPath, "ab");
  EXPECT_EQ(file.size(), 4);
}

TEST(FileOperatorTest, SizeReachesBeyond4GiBOpenOrNot) {
  for (const long long size : {0x80000000LL, 0x100000000LL, 0x140000001LL}) {
    writeText(kPath, "");
    ASSERT_EQ(truncate(kPath, size), 0);
    FileOperator file(kPath, false);
    EXPECT_EQ(file.size(), size);
    ASSERT_EQ(file.open(O_RDONLY, 0), 0);
    EXPECT_EQ(file.size(), size);
  }
}

TEST(FileOperatorTest, FileGrowsBeyond2GiB) {
  FileOperator file(kPath, true);
  ASSERT_EQ(file.open(O_RDWR | O_CREAT | O_TRUNC, 0600), 0);
  ASSERT_EQ(file.lseek(0x7FFFFFFF, SEEK_SET), 0x7FFFFFFF);
  EXPECT_EQ(file.write("abc", 3), 3);
  EXPECT_EQ(file.size(), 0x80000002LL);
  ASSERT_EQ(file.lseek(0x7FFFFFFF, SEEK_SET), 0x7FFFFFFF);
  char bytes[4] = {};
  EXPECT_EQ(file.read(bytes, 4, -1), 3);
  EXPECT_STREQ(bytes, "abc");
}

TEST(FileOperatorTest, SizeOfNothingIs0WithAnErrorLine) {
  const LogCapture log;
  EXPECT_EQ(FileOperator(kMissingPath, false).size(), 0);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{errorIn("size", "###ERROR### fstat() and stat() return error\n\n")});
}

TEST(FileOperatorTest, CopyOfAFileFindsItsOwnSize) {
  writeText(kPath, "abcd");
  FileOperator source(kPath, false);
  ASSERT_EQ(source.open(O_RDONLY, 0), 0);
  FileOperator destination("/tmp/copy", false);
  ASSERT_EQ(destination.open(O_CREAT | O_RDWR, 0600), 0);
  EXPECT_EQ(source.copy(destination), 4);
  EXPECT_EQ(destination.size(), 4);
}

// --- end of life

TEST(FileOperatorTest, DestructionClosesWhatWasOpened) {
  writeText(kPath, "");
  int fd = -1;
  {
    FileOperator file(kPath, false);
    ASSERT_EQ(file.open(O_RDONLY, 0), 0);
    fd = file.getFd();
  }
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  EXPECT_TRUE(exists(kPath));
}

TEST(FileOperatorTest, DestructionRemovesAFileThatWasNeverOpened) {
  writeText(kPath, "");
  { const FileOperator file(kPath, true); }
  EXPECT_FALSE(exists(kPath));
}

TEST(FileOperatorTest, FailedRemovalIsLogged) {
  const LogCapture log;
  { const FileOperator file(kMissingPath, true); }
  EXPECT_EQ(log.lines(),
            std::vector<LogLine>{errorIn("~FileOperator", "###ERROR### unlink() returns error(errno=2).\n")});
}

TEST(FileOperatorTest, RemovalCanBeSwitchedOnAndOff) {
  writeText(kPath, "");
  {
    FileOperator file(kPath, true);
    file.setFileRemovalOnObjectDeletion(false);
  }
  EXPECT_TRUE(exists(kPath));
  {
    FileOperator file(kPath, false);
    file.setFileRemovalOnObjectDeletion(true);
  }
  EXPECT_FALSE(exists(kPath));
}

TEST(FileOperatorTest, FileIsUnlinkedWhileStillOpen) {
  writeText(kPath, "");
  auto file = std::make_unique<FileOperator>(kPath, true);
  ASSERT_EQ(file->open(O_RDONLY, 0), 0);
  const LogCapture log;
  const CallFault noUnlink(Call::Unlink, EACCES);
  const CallFault noClose(Call::Close, EIO);
  file.reset();
  EXPECT_EQ(
      log.lines(),
      (std::vector<LogLine>{errorIn("~FileOperator", "###ERROR### unlink() returns error(errno=13).\n"),
                            errorLine("FdOperator.cpp", 0, "close", "###ERROR### close() returns error(errno=5).\n")}));
}

}  // namespace
