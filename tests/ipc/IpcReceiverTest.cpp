#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <memory>

#include "IpcReceiver.h"
#include "SysFunc.h"
#include "ipc/IpcTestSupport.h"
#include "ipc/WireMessage.h"
#include "support/CallFaults.h"
#include "support/FileStatus.h"
#include "support/LogCapture.h"

using Kelp::IpcData;
using Kelp::IpcHeader;
using Kelp::IpcReceiver;
using Kelp::SysFunc;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::kFifoPath;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::makeMessage;
using KelpTest::toBytes;
using KelpTest::WireMessage;

namespace {

LogLine channelLine() {
  return errorLine("IpcReceiver.cpp", 0, "makeComChannel", "###ERROR###\n");
}

LogLine openLine() {
  return errorLine("IpcReceiver.cpp", 0, "IpcReceiver", "###ERROR###\n");
}

LogLine receiveLine() {
  return errorLine("IpcReceiver.cpp", 0, "receive", "###ERROR###\n");
}

LogLine headerLine(int ret) {
  return errorLine("IpcReceiver.cpp", 0, "receive", "###ERROR### headerSize=32, ret=" + std::to_string(ret) + "\n\n");
}

LogLine dataLine(int first, int second) {
  return errorLine("IpcReceiver.cpp", 0, "receive",
                   "###ERROR### dataSize=" + std::to_string(first) + ", ret=" + std::to_string(second) + "\n\n");
}

mode_t permissionsOf(const char* path) {
  struct stat status;
  return stat(path, &status) == 0 ? status.st_mode & 07777 : 0;
}

bool isFifo(const char* path) {
  struct stat status;
  return stat(path, &status) == 0 && S_ISFIFO(status.st_mode);
}

mode_t currentUmask() {
  const mode_t mask = umask(0);
  umask(mask);
  return mask;
}

long long milliseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

void writeFile(const char* path, const KelpTest::Bytes& bytes) {
  const int fd = open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  EXPECT_TRUE(KelpTest::writeBytes(fd, bytes));
  close(fd);
}

KelpTest::Bytes cut(KelpTest::Bytes bytes, size_t size) {
  bytes.resize(size);
  return bytes;
}

// What came of one receive(); releases the payload.
struct Received {
  Kelp::CommonReturnCode_t result;
  IpcHeader header;
  bool hasData;
  std::string text;

  explicit Received(IpcReceiver& receiver, int timeoutMs = -1) : header() {
    IpcHeader unset;
    IpcData* data = &m_notNull;
    result = receiver.receive(unset, data, timeoutMs);
    hasData = data != nullptr;
    if (result == Kelp::CommonReturnCode_Ok) {
      header = unset;
      text = hasData ? KelpTest::textOf(*data, header.dataSize) : "";
    }
    if (hasData) {
      SysFunc::kelpFree(data);
    }
  }

 private:
  IpcData m_notNull;
};

class IpcReceiverTest : public testing::Test {
 protected:
  IpcReceiverTest() : m_receiver(new IpcReceiver(kFifoPath)), m_writer(open(kFifoPath, O_WRONLY | O_CLOEXEC)) {}
  ~IpcReceiverTest() override { close(m_writer); }

  IpcReceiver& receiver() { return *m_receiver; }
  void destroyReceiver() { m_receiver.reset(); }
  void write(const WireMessage& message) { ASSERT_TRUE(KelpTest::writeMessage(m_writer, message)); }
  void write(const KelpTest::Bytes& bytes) { ASSERT_TRUE(KelpTest::writeBytes(m_writer, bytes)); }

 private:
  std::unique_ptr<IpcReceiver> m_receiver;
  int m_writer;
};

}  // namespace

TEST_F(IpcReceiverTest, IsRegisteredUnderItsType) {
  EXPECT_EQ(27, KelpTest::objectTypeOf(receiver()));
}

TEST_F(IpcReceiverTest, AMessageWithoutPayloadHasNullData) {
  write(makeMessage(0, 5, 2, 0, 0, ""));
  const Received received(receiver());
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, received.result);
  EXPECT_FALSE(received.hasData);
}

TEST_F(IpcReceiverTest, ReceivesTheLargestPayload) {
  const std::string text(4064, 'x');
  write(makeMessage(1, 5, 0, 3, 1, text));
  EXPECT_EQ(text, Received(receiver()).text);
}

TEST_F(IpcReceiverTest, ReceivesMessagesInTheirOrder) {
  write(makeMessage(1, 5, 0, 3, 1, "first"));
  write(makeMessage(1, 6, 0, 3, 1, ""));
  write(makeMessage(1, 7, 0, 3, 1, "third"));
  EXPECT_EQ("first", Received(receiver()).text);
  EXPECT_EQ(6U, Received(receiver()).header.sessionId);
  EXPECT_EQ("third", Received(receiver()).text);
}

TEST_F(IpcReceiverTest, ReservedWordsAreNotRead) {
  WireMessage message = makeMessage(1, 5, 0, 3, 1, "hello");
  message.reserved[0] = 0xFFFFFFFF;
  message.reserved[1] = 0xFFFFFFFF;
  write(message);
  EXPECT_EQ("hello", Received(receiver()).text);
}

// The FIFO is open to all for reading too.
TEST_F(IpcReceiverTest, AMessageGoesToWhoeverReadsItFirst) {
  write(makeMessage(1, 5, 0, 3, 1, "hello"));
  const int stranger = open(kFifoPath, O_RDONLY | O_CLOEXEC);
  WireMessage message;
  ASSERT_TRUE(KelpTest::readMessage(stranger, message));
  EXPECT_EQ("hello", message.payload);
  EXPECT_EQ(0, KelpTest::bytesWaiting(receiver().getFd()));
  close(stranger);
}

TEST_F(IpcReceiverTest, TheCallReadsNoFurtherThanItsMessage) {
  write(makeMessage(1, 5, 0, 3, 1, "hello"));
  write(makeMessage(1, 6, 0, 3, 1, "next"));
  const Received received(receiver());
  EXPECT_EQ(36, KelpTest::bytesWaiting(receiver().getFd()));
}

TEST_F(IpcReceiverTest, WithoutATimeOutAMessageCostsTwoReadsAndNothingElse) {
  write(makeMessage(1, 5, 0, 3, 1, "hello"));
  const int reads = KelpTest::callCount(Call::Read);
  const int epolls = KelpTest::callCount(Call::EpollCreate);
  const Received received(receiver());
  EXPECT_EQ(2, KelpTest::callCount(Call::Read) - reads);
  EXPECT_EQ(epolls, KelpTest::callCount(Call::EpollCreate));
}

TEST_F(IpcReceiverTest, ReceivesInTime) {
  write(makeMessage(1, 5, 0, 3, 1, "hello"));
  const Received received(receiver(), 1000);
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, received.result);
  EXPECT_EQ("hello", received.text);
}

TEST_F(IpcReceiverTest, NothingInTimeIsAFailureAfterTheTimeOut) {
  const LogCapture log;
  const long long start = milliseconds();
  const Received received(receiver(), 100);
  EXPECT_GE(milliseconds() - start, 99);
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, received.result);
  EXPECT_FALSE(received.hasData);
  EXPECT_EQ((std::vector<LogLine>{errorLine("FdOperator.cpp", 0, "read", "###ERROR### epoll_wait() is Timeout.\n\n"),
                                  headerLine(-1)}),
            log.lines());
}

TEST_F(IpcReceiverTest, NoPayloadInTimeIsAFailureWithItsOwnLine) {
  write(cut(toBytes(makeMessage(1, 5, 0, 3, 1, "hello")), 32));
  const LogCapture log;
  const Received received(receiver(), 20);
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, received.result);
  EXPECT_FALSE(received.hasData);
  EXPECT_EQ((std::vector<LogLine>{errorLine("FdOperator.cpp", 0, "read", "###ERROR### epoll_wait() is Timeout.\n\n"),
                                  dataLine(-1, 5)}),
            log.lines());
}

TEST_F(IpcReceiverTest, ASizeThatNoMessageHasIsRefusedAndNothingMoreIsRead) {
  for (const int size : {-1, 4065, INT_MIN, INT_MAX}) {
    WireMessage message = makeMessage(1, 5, 0, 3, 1, "hello");
    message.dataSize = static_cast<uint32_t>(size);
    write(message);
    const LogCapture log;
    const Received received(receiver());
    EXPECT_EQ(Kelp::CommonReturnCode_NotEnoughMemory, received.result) << size;
    EXPECT_FALSE(received.hasData) << size;
    EXPECT_EQ(std::vector<LogLine>{receiveLine()}, log.lines()) << size;
    char rest[5];
    EXPECT_EQ(5, KelpTest::bytesWaiting(receiver().getFd())) << size;
    EXPECT_EQ(5, read(receiver().getFd(), rest, sizeof rest));
  }
}

TEST_F(IpcReceiverTest, NoMemoryForThePayloadIsReported) {
  write(makeMessage(1, 5, 0, 3, 1, "hello"));
  const LogCapture log;
  const CallFault fault(Call::Malloc, ENOMEM);
  const Received received(receiver());
  EXPECT_EQ(1, fault.hits());
  EXPECT_EQ(Kelp::CommonReturnCode_NotEnoughMemory, received.result);
  EXPECT_FALSE(received.hasData);
  EXPECT_EQ(std::vector<LogLine>{receiveLine()}, log.lines());
}

TEST_F(IpcReceiverTest, AMessageWithoutMemoryForItsPayloadIsTakenOutWhole) {
  for (const size_t size : {1U, 255U, 256U, 257U, 4064U}) {
    write(makeMessage(1, 5, 0, 3, 1, std::string(size, 'x')));
    write(makeMessage(1, 6, 0, 3, 1, "next"));
    {
      const CallFault fault(Call::Malloc, ENOMEM);
      EXPECT_EQ(Kelp::CommonReturnCode_NotEnoughMemory, Received(receiver()).result) << size;
    }
    const Received received(receiver());
    EXPECT_EQ(Kelp::CommonReturnCode_Ok, received.result) << size;
    EXPECT_EQ(6U, received.header.sessionId) << size;
    EXPECT_EQ("next", received.text) << size;
  }
}

TEST_F(IpcReceiverTest, AFailedReadOfTheHeaderIsReported) {
  write(makeMessage(1, 5, 0, 3, 1, "hello"));
  const LogCapture log;
  const CallFault fault(Call::Read, EIO);
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, Received(receiver()).result);
  EXPECT_EQ(std::vector<LogLine>{headerLine(-1)}, log.lines());
}

TEST_F(IpcReceiverTest, AFailedReadOfThePayloadIsReportedWithCrossedValues) {
  write(makeMessage(1, 5, 0, 3, 1, "hello"));
  const LogCapture log;
  const CallFault fault(Call::Read, EIO, 1);
  const int frees = KelpTest::callCount(Call::Free);
  const Received received(receiver());
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, received.result);
  EXPECT_FALSE(received.hasData);
  EXPECT_EQ(1, KelpTest::callCount(Call::Free) - frees);
  EXPECT_EQ(std::vector<LogLine>{dataLine(-1, 5)}, log.lines());
}

TEST_F(IpcReceiverTest, AMessageWhosePayloadFailedToBeReadIsTakenOutWhole) {
  write(makeMessage(1, 5, 0, 3, 1, "hello"));
  write(makeMessage(1, 6, 0, 3, 1, "next"));
  {
    const CallFault fault(Call::Read, EIO, 1);
    EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, Received(receiver()).result);
  }
  EXPECT_EQ("next", Received(receiver()).text);
}

TEST_F(IpcReceiverTest, ItsDescriptorDoesNotOutliveAnExec) {
  ASSERT_NE(-1, receiver().getFd());
  EXPECT_TRUE(KelpTest::isCloseOnExec(receiver().getFd()));
}

TEST_F(IpcReceiverTest, RemovesItsFifoAndClosesItsDescriptor) {
  const int fd = receiver().getFd();
  destroyReceiver();
  EXPECT_FALSE(KelpTest::exists(kFifoPath));
  EXPECT_EQ(-1, fcntl(fd, F_GETFD, 0));
}

TEST(IpcReceiverCreationTest, TheFifoIsOpenToAllWhateverTheUmask) {
  const mode_t previous = umask(0077);
  const LogCapture log;
  const IpcReceiver receiver(kFifoPath);
  EXPECT_TRUE(isFifo(kFifoPath));
  EXPECT_EQ(0666U, permissionsOf(kFifoPath));
  EXPECT_EQ(0077U, currentUmask());
  EXPECT_TRUE(log.lines().empty());
  umask(previous);
}

TEST(IpcReceiverCreationTest, AnExistingFifoIsUsedAfterOneErrorLine) {
  ASSERT_EQ(0, mkfifo(kFifoPath, 0600));
  const LogCapture log;
  IpcReceiver receiver(kFifoPath);
  EXPECT_EQ(std::vector<LogLine>{channelLine()}, log.lines());
  ASSERT_TRUE(KelpTest::writeMessage(receiver.getFd(), makeMessage(1, 5, 0, 3, 1, "hello")));
  EXPECT_EQ("hello", Received(receiver).text);
}

TEST(IpcReceiverCreationTest, AnExistingFifoKeepsItsMode) {
  ASSERT_EQ(0, mkfifo(kFifoPath, 0600));
  const IpcReceiver receiver(kFifoPath);
  EXPECT_EQ(0600U, permissionsOf(kFifoPath));
}

TEST(IpcReceiverCreationTest, ALinkInThePlaceOfTheFifoIsFollowedAndOnlyTheLinkIsRemoved) {
  constexpr char kTarget[] = "/tmp/Kelp/target";
  ASSERT_EQ(0, mkfifo(kTarget, 0600));
  ASSERT_EQ(0, symlink(kTarget, kFifoPath));
  {
    IpcReceiver receiver(kFifoPath);
    const int writer = open(kTarget, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_TRUE(KelpTest::writeMessage(writer, makeMessage(1, 5, 0, 3, 1, "hello")));
    EXPECT_EQ("hello", Received(receiver).text);
    close(writer);
  }
  EXPECT_FALSE(KelpTest::exists(kFifoPath));
  EXPECT_TRUE(isFifo(kTarget));
}

TEST(IpcReceiverCreationTest, TheUmaskIsRestoredOnFailureToo) {
  const mode_t previous = umask(0077);
  ASSERT_EQ(0, mkfifo(kFifoPath, 0600));
  const IpcReceiver receiver(kFifoPath);
  EXPECT_EQ(0077U, currentUmask());
  umask(previous);
}

TEST(IpcReceiverCreationTest, TheUmaskIsRestoredBeforeTheFailureIsLogged) {
  const mode_t previous = umask(0077);
  ASSERT_EQ(0, mkfifo(kFifoPath, 0600));
  std::vector<mode_t> masks;
  {
    const LogCapture log([&masks] { masks.push_back(currentUmask()); });
    const IpcReceiver receiver(kFifoPath);
  }
  EXPECT_EQ(std::vector<mode_t>{0077}, masks);
  umask(previous);
}

TEST(IpcReceiverCreationTest, TheChannelCanBeMadeAgain) {
  const IpcReceiver receiver(kFifoPath);
  unlink(kFifoPath);
  const LogCapture log;
  receiver.makeComChannel();
  EXPECT_TRUE(isFifo(kFifoPath));
  EXPECT_TRUE(log.lines().empty());
}

TEST(IpcReceiverCreationTest, AFifoThatCannotBeMadeFailsEveryReceive) {
  const LogCapture log;
  IpcReceiver receiver("/tmp/missing/fifo");
  EXPECT_EQ((std::vector<LogLine>{
                channelLine(), errorLine("FileOperator.cpp", 0, "open", "###ERROR### open() returns error(errno=2).\n"),
                openLine()}),
            log.lines());
  EXPECT_EQ(-1, receiver.getFd());
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, Received(receiver).result);
  EXPECT_TRUE(log.contains(headerLine(-1)));
}

TEST(IpcReceiverCreationTest, WithoutADescriptorLeftEveryReceiveFails) {
  { const IpcReceiver receiver(kFifoPath); }
  const LogCapture log;
  const KelpTest::DescriptorShortage shortage(0);
  IpcReceiver receiver(kFifoPath);
  EXPECT_TRUE(log.contains(openLine()));
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, Received(receiver).result);
}

TEST(IpcReceiverCreationTest, ATimedReceiveFailsWithoutADescriptorLeft) {
  IpcReceiver receiver(kFifoPath);
  ASSERT_TRUE(KelpTest::writeMessage(receiver.getFd(), makeMessage(1, 5, 0, 3, 1, "hello")));
  {
    const LogCapture log;
    const KelpTest::DescriptorShortage shortage(0);
    EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, Received(receiver, 1000).result);
    EXPECT_TRUE(log.contains(headerLine(-1)));
  }
  EXPECT_EQ("hello", Received(receiver, 1000).text);
}

TEST(IpcReceiverOnAFileTest, AnEndInsideTheHeaderIsAFailure) {
  writeFile(kFifoPath, cut(toBytes(makeMessage(1, 5, 0, 3, 1, "")), 31));
  IpcReceiver receiver(kFifoPath);
  const LogCapture log;
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, Received(receiver).result);
  EXPECT_EQ(std::vector<LogLine>{headerLine(0)}, log.lines());
}

TEST(IpcReceiverOnAFileTest, AnEndBeforeTheHeaderIsAFailure) {
  writeFile(kFifoPath, {});
  IpcReceiver receiver(kFifoPath);
  const LogCapture log;
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, Received(receiver).result);
  EXPECT_EQ(std::vector<LogLine>{headerLine(0)}, log.lines());
}

TEST(IpcReceiverOnAFileTest, AnEndInsideThePayloadIsAFailure) {
  for (const size_t size : {32U, 36U}) {
    writeFile(kFifoPath, cut(toBytes(makeMessage(1, 5, 0, 3, 1, "hello")), size));
    IpcReceiver receiver(kFifoPath);
    const LogCapture log;
    const Received received(receiver);
    EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, received.result) << size;
    EXPECT_FALSE(received.hasData) << size;
    EXPECT_EQ(std::vector<LogLine>{dataLine(0, 5)}, log.lines()) << size;
  }
}
