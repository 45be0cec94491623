#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <set>
#include <thread>

#include "IpcAddressApp.h"
#include "IpcSender.h"
#include "ipc/IpcTestSupport.h"
#include "ipc/Sigpipe.h"
#include "ipc/WireMessage.h"
#include "support/CallFaults.h"
#include "support/FileStatus.h"
#include "support/LogCapture.h"

using Kelp::IpcData;
using Kelp::IpcHeader;
using Kelp::IpcSender;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::errorLine;
using KelpTest::kFifoPath;
using KelpTest::LogCapture;
using KelpTest::SigpipeBlocked;
using KelpTest::SigpipeDisposition;
using KelpTest::takePendingSigpipes;
using KelpTest::WireMessage;

namespace {

// Sends while the program's static objects are built, before those of the library can be taken to exist.
struct EarlySender {
  int readEnd;
  Kelp::CommonReturnCode_t result;

  EarlySender() noexcept : readEnd(-1), result(Kelp::CommonReturnCode_InternalError) {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
      return;
    }
    readEnd = fds[0];
    IpcSender sender("/proc/self/fd/" + std::to_string(fds[1]));
    IpcHeader header{};
    header.dataSize = 5;
    std::string text = "early";
    result = sender.send(header, KelpTest::payload<IpcData>(text));
    close(fds[1]);
  }
};

__attribute__((init_priority(101))) EarlySender s_earlySender;

class IpcSenderTest : public testing::Test {
 protected:
  explicit IpcSenderTest(void (*sigpipeHandler)(int) = SIG_IGN)
      : m_reader(KelpTest::openFifoForReading(kFifoPath)), m_disposition(sigpipeHandler) {}
  ~IpcSenderTest() override { closeReader(); }

  int reader() const { return m_reader; }
  void closeReader() {
    if (m_reader != -1) {
      close(m_reader);
      m_reader = -1;
    }
  }

  static Kelp::CommonReturnCode_t send(IpcSender& sender, std::string text, Kelp::SessionId_t sessionId = 5) {
    IpcHeader header = headerFor(static_cast<int>(text.size()), sessionId);
    return sender.send(header, KelpTest::payload<IpcData>(text));
  }

  static IpcHeader headerFor(int dataSize, Kelp::SessionId_t sessionId) {
    IpcHeader header{};
    header.kind = Kelp::IpcMessageKind_Request;
    header.sessionId = sessionId;
    Kelp::IpcAddressApp(3, 1).fillInSourceAddress(header);
    header.dataSize = dataSize;
    return header;
  }

 private:
  int m_reader;
  SigpipeDisposition m_disposition;
};

// The sender is built under `handler`, and its peer goes away.
class IpcSenderWithoutPeerTest : public IpcSenderTest {
 protected:
  IpcSenderWithoutPeerTest() : IpcSenderTest(SIG_DFL) {}  // going back to SIG_IGN would drop what is pending

  void sendToDeadPeer(void (*handler)(int)) {
    const SigpipeDisposition disposition(handler);
    IpcSender sender(kFifoPath);
    closeReader();
    const LogCapture log;
    EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, send(sender, "lost"));
    EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, send(sender, "lost too"));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(handler, KelpTest::sigpipeHandler());
  }
};

std::atomic<int> s_signals{0};

void countSignal(int /*signal*/) {
  s_signals.fetch_add(1);
}

}  // namespace

TEST_F(IpcSenderTest, IsRegisteredUnderItsType) {
  const IpcSender sender(kFifoPath);
  EXPECT_EQ(28, KelpTest::objectTypeOf(sender));
}

TEST_F(IpcSenderTest, SendsHeaderAndPayloadWithOneWrite) {
  IpcSender sender(kFifoPath);
  const int writes = callCount(Call::Write);
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, send(sender, "hello"));
  EXPECT_EQ(1, callCount(Call::Write) - writes);
  WireMessage message;
  ASSERT_TRUE(KelpTest::readMessage(reader(), message));
  EXPECT_EQ(KelpTest::makeMessage(1, 5, 0, 3, 1, "hello"), message);
  EXPECT_EQ(0, KelpTest::bytesWaiting(reader()));
}

TEST_F(IpcSenderTest, SendsAHeaderAlone) {
  IpcSender sender(kFifoPath);
  IpcHeader header = headerFor(0, 5);
  IpcData nothing;
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, sender.send(header, nothing));
  EXPECT_EQ(32, KelpTest::bytesWaiting(reader()));
}

TEST_F(IpcSenderTest, SendsTheLargestPayloadWithOneWriteOf4096Bytes) {
  IpcSender sender(kFifoPath);
  const std::string text(4064, 'x');
  const int writes = callCount(Call::Write);
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, send(sender, text));
  EXPECT_EQ(1, callCount(Call::Write) - writes);
  EXPECT_EQ(4096, KelpTest::bytesWaiting(reader()));
  WireMessage message;
  ASSERT_TRUE(KelpTest::readMessage(reader(), message));
  EXPECT_EQ(text, message.payload);
}

TEST_F(IpcSenderTest, ALargerPayloadEndsTheProcess) {
  IpcSender sender(kFifoPath);
  EXPECT_DEATH(send(sender, std::string(4065, 'x')),
               "IpcSender.cpp:[0-9]+: .*IpcSender::send\\(.*\\): Assertion `headerSize \\+ dataSize <= 4096' failed");
}

TEST_F(IpcSenderTest, ADataSizeThatIsNoSizeEndsTheProcess) {
  IpcSender sender(kFifoPath);
  IpcData nothing;
  for (const int dataSize : {-1, INT_MIN, INT_MAX}) {
    IpcHeader header = headerFor(dataSize, 5);
    EXPECT_DEATH(sender.send(header, nothing), "Assertion `headerSize \\+ dataSize <= 4096' failed") << dataSize;
  }
}

TEST_F(IpcSenderTest, AFifoThatNobodyReadsIsReportedOnceAndFailsEverySend) {
  closeReader();
  const LogCapture log;
  IpcSender sender(kFifoPath);
  EXPECT_EQ((std::vector<KelpTest::LogLine>{
                errorLine("FileOperator.cpp", 0, "open", "###ERROR### open() returns error(errno=6).\n"),
                errorLine("IpcSender.cpp", 0, "IpcSender", "###ERROR###\n")}),
            log.lines());
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, send(sender, "lost"));
  EXPECT_EQ(2U, log.lines().size());
}

TEST_F(IpcSenderTest, TheOpenIsNotTriedAgainWhenAReaderComes) {
  closeReader();
  IpcSender sender(kFifoPath);
  const int lateReader = KelpTest::openFifoForReading(kFifoPath, false);
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, send(sender, "lost"));
  EXPECT_EQ(0, KelpTest::bytesWaiting(lateReader));
  close(lateReader);
}

TEST_F(IpcSenderTest, AMissingFifoFailsEverySendAndIsNotCreated) {
  const LogCapture log;
  IpcSender sender("/tmp/Kelp/missing");
  EXPECT_TRUE(log.contains(errorLine("IpcSender.cpp", 0, "IpcSender", "###ERROR###\n")));
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, send(sender, "lost"));
  EXPECT_FALSE(KelpTest::exists("/tmp/Kelp/missing"));
}

TEST_F(IpcSenderTest, AFullFifoDropsTheMessageWhole) {
  IpcSender sender(kFifoPath);
  fcntl(reader(), F_SETPIPE_SZ, 4096);
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, send(sender, std::string(3000, 'a')));
  const LogCapture log;
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, send(sender, std::string(2000, 'b')));
  EXPECT_EQ(3032, KelpTest::bytesWaiting(reader()));
  EXPECT_TRUE(log.lines().empty());

  WireMessage message;
  ASSERT_TRUE(KelpTest::readMessage(reader(), message));
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, send(sender, std::string(2000, 'b')));
  ASSERT_TRUE(KelpTest::readMessage(reader(), message));
  EXPECT_EQ(std::string(2000, 'b'), message.payload);
}

TEST_F(IpcSenderTest, AFailedWriteIsReported) {
  IpcSender sender(kFifoPath);
  const KelpTest::CallFault fault(Call::Write, EIO);
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, send(sender, "lost"));
}

TEST_F(IpcSenderTest, LeavesTheFifoAndNoDescriptorBehind) {
  { const IpcSender sender(kFifoPath); }
  EXPECT_TRUE(KelpTest::exists(kFifoPath));
  EXPECT_EQ(std::vector<int>{reader()}, KelpTest::descriptorsOf(kFifoPath));
}

TEST_F(IpcSenderTest, ItsDescriptorDoesNotOutliveAnExec) {
  const IpcSender sender(kFifoPath);
  const std::vector<int> fds = KelpTest::descriptorsOf(kFifoPath);
  ASSERT_EQ(2U, fds.size());
  for (const int fd : fds) {
    EXPECT_TRUE(KelpTest::isCloseOnExec(fd));
  }
}

TEST_F(IpcSenderTest, AFileInThePlaceOfTheFifoTakesTheMessageAsItIs) {
  const std::string path = "/tmp/Kelp/file";
  close(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  {
    IpcSender sender(path);
    EXPECT_EQ(Kelp::CommonReturnCode_Ok, send(sender, "hello"));
  }
  struct stat status;
  ASSERT_EQ(0, stat(path.c_str(), &status));
  EXPECT_EQ(37, status.st_size);
}

TEST_F(IpcSenderTest, ALinkInThePlaceOfTheFifoIsFollowed) {
  constexpr char kTarget[] = "/tmp/Kelp/target";
  constexpr char kLink[] = "/tmp/Kelp/link";
  close(open(kTarget, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  ASSERT_EQ(0, symlink(kTarget, kLink));
  IpcSender sender(kLink);
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, send(sender, "hello"));
  EXPECT_EQ(37, KelpTest::statusOf(kTarget).st_size);
}

TEST_F(IpcSenderTest, WorksBeforeTheLibrarysStaticObjectsExist) {
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, s_earlySender.result);
  WireMessage message;
  ASSERT_TRUE(KelpTest::readMessage(s_earlySender.readEnd, message));
  EXPECT_EQ("early", message.payload);
}

TEST_F(IpcSenderTest, MessagesOfSeveralThreadsStayWhole) {
  constexpr unsigned kThreads = 4;
  constexpr unsigned kMessages = 500;
  const IpcSender keepsTheFifoFromItsEnd(kFifoPath);
  std::vector<std::thread> threads;
  for (unsigned thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread] {
      IpcSender sender(kFifoPath);
      for (unsigned i = 0; i < kMessages; ++i) {
        const std::string text(1 + 37 * i % 4064, static_cast<char>('a' + thread));
        while (send(sender, text, thread * kMessages + i) != Kelp::CommonReturnCode_Ok) {
          std::this_thread::yield();
        }
      }
    });
  }
  fcntl(reader(), F_SETFL, 0);
  std::set<uint32_t> seen;
  for (unsigned i = 0; i < kThreads * kMessages; ++i) {
    WireMessage message;
    ASSERT_TRUE(KelpTest::readMessage(reader(), message));
    const auto letter = static_cast<char>('a' + message.sessionId / kMessages);
    EXPECT_EQ(std::string(1 + 37 * (message.sessionId % kMessages) % 4064, letter), message.payload);
    seen.insert(message.sessionId);
  }
  EXPECT_EQ(kThreads * kMessages, seen.size());
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST_F(IpcSenderWithoutPeerTest, ADeadPeerDoesNotEndTheProcess) {
  sendToDeadPeer(SIG_DFL);
  EXPECT_FALSE(KelpTest::isSigpipeBlocked());
  const SigpipeBlocked blocked;
  EXPECT_TRUE(takePendingSigpipes().empty());
}

TEST_F(IpcSenderWithoutPeerTest, ADeadPeerReachesNoHandlerOfTheSignal) {
  sendToDeadPeer(countSignal);
  EXPECT_EQ(0, s_signals.load());
  EXPECT_FALSE(KelpTest::isSigpipeBlocked());
}

TEST_F(IpcSenderWithoutPeerTest, ADeadPeerOfOneThreadReachesNoHandlerOnAnother) {
  s_signals = 0;
  std::thread([this] { sendToDeadPeer(countSignal); }).join();
  EXPECT_EQ(0, s_signals.load());
}

TEST_F(IpcSenderWithoutPeerTest, TheSignalMayBeIgnoredOnlyAfterTheSenderWasBuilt) {
  const SigpipeBlocked blocked;  // keeps what would be left over
  IpcSender sender(kFifoPath);
  closeReader();
  {
    const SigpipeDisposition ignored(SIG_IGN);
    EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, send(sender, "lost"));
    EXPECT_TRUE(takePendingSigpipes().empty());
  }
  EXPECT_EQ(Kelp::CommonReturnCode_FileAccessError, send(sender, "lost too"));
  EXPECT_TRUE(takePendingSigpipes().empty());
}

TEST_F(IpcSenderWithoutPeerTest, AProcessThatIgnoresTheSignalIsSparedTheCallsAroundTheWrite) {
  const int masks = callCount(Call::Sigmask);
  sendToDeadPeer(SIG_IGN);
  EXPECT_EQ(masks, callCount(Call::Sigmask));
}

TEST_F(IpcSenderWithoutPeerTest, ASignalThatIsBlockedStaysBlockedAndIsNotPending) {
  const SigpipeBlocked blocked;
  sendToDeadPeer(SIG_DFL);
  EXPECT_TRUE(KelpTest::isSigpipeBlocked());
  EXPECT_TRUE(takePendingSigpipes().empty());
}

TEST_F(IpcSenderWithoutPeerTest, ASignalThatWasPendingBeforeStaysPending) {
  const SigpipeBlocked blocked;
  pthread_kill(pthread_self(), SIGPIPE);
  sendToDeadPeer(countSignal);
  EXPECT_EQ(1U, takePendingSigpipes().size());
  EXPECT_EQ(0, s_signals.load());
}

TEST_F(IpcSenderWithoutPeerTest, ASignalPendingForTheProcessStaysPending) {
  const SigpipeBlocked blocked;
  kill(getpid(), SIGPIPE);
  sendToDeadPeer(SIG_DFL);
  EXPECT_EQ(1U, takePendingSigpipes().size());
}

TEST_F(IpcSenderTest, ASuccessfulSendLeavesThePendingSignalAlone) {
  const SigpipeDisposition disposition(SIG_DFL);
  const SigpipeBlocked blocked;
  pthread_kill(pthread_self(), SIGPIPE);
  IpcSender sender(kFifoPath);
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, send(sender, "hello"));
  EXPECT_EQ(1U, takePendingSigpipes().size());
}
