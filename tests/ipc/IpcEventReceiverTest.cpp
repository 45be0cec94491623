#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <thread>

#include "IpcAddressApi.h"
#include "IpcAddressApp.h"
#include "IpcAddressCore.h"
#include "IpcEventReceiver.h"
#include "foundation/ObjectRegistry.h"
#include "ipc/IpcTestSupport.h"
#include "ipc/LoopFixture.h"
#include "ipc/WireMessage.h"
#include "support/CallFaults.h"
#include "support/FileStatus.h"
#include "support/LogCapture.h"
#include "support/VirtualSlot.h"

using Kelp::IpcAddress;
using Kelp::IpcAddressType;
using Kelp::IpcDataRequest;
using Kelp::IpcEventReceiver;
using Kelp::ObjectRegistry;
using KelpTest::Call;
using KelpTest::errorLine;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::makeMessage;
using KelpTest::OneWayRecorder;
using KelpTest::RequestRecorder;
using KelpTest::WireMessage;

namespace {

constexpr char kCorePath[] = "/tmp/Kelp/fifocore";

LogLine receiveLine() {
  return errorLine("IpcEventReceiver.cpp", 0, "receiveAndExecuteEvent", "###ERROR###\n");
}

class IpcEventReceiverTest : public testing::Test {
 protected:
  IpcEventReceiverTest() : m_receiver(new IpcEventReceiver(Kelp::IpcAddressCore())) {
    m_writer = open(kCorePath, O_WRONLY | O_CLOEXEC);
  }
  ~IpcEventReceiverTest() override { close(m_writer); }

  IpcEventReceiver& receiver() { return *m_receiver; }
  void destroyReceiver() { m_receiver.reset(); }
  void write(const WireMessage& message) { ASSERT_TRUE(KelpTest::writeMessage(m_writer, message)); }
  void write(const KelpTest::Bytes& bytes) { ASSERT_TRUE(KelpTest::writeBytes(m_writer, bytes)); }

  void receive(const WireMessage& message) {
    write(message);
    receiver().receiveAndExecuteEvent();
  }

  void handleRequestsOfAll(IpcEventReceiver::RequestHandler& handler) {
    for (const IpcAddressType type : {Kelp::IpcAddressType_App, Kelp::IpcAddressType_Api, Kelp::IpcAddressType_Core}) {
      receiver().setRequestHandler(type, handler);
    }
  }

 private:
  std::unique_ptr<IpcEventReceiver> m_receiver;
  int m_writer;
};

// Looks at what it is given more closely than its content.
class Inspector : public IpcEventReceiver::RequestHandler {
 public:
  const IpcAddress* address = nullptr;
  uintptr_t data = 0;

  void handleRequest(IpcAddress& srcIpcAddress, IpcDataRequest& given, int /*dataSize*/,
                     Kelp::SessionId_t /*sessionId*/) override {
    address = &srcIpcAddress;
    data = reinterpret_cast<uintptr_t>(&given);
    EXPECT_TRUE(ObjectRegistry::getInstance().contains(address));
  }
};

}  // namespace

TEST_F(IpcEventReceiverTest, HandlersKeepTheOrderOfTheirOperations) {
  EXPECT_EQ(2U, KelpTest::slotOf(&IpcEventReceiver::RequestHandler::handleRequest));
  EXPECT_EQ(2U, KelpTest::slotOf(&IpcEventReceiver::OneWayRequestHandler::handleOneWayRequest));
}

TEST_F(IpcEventReceiverTest, ItsPartsAreRegisteredUnderTheirTypes) {
  EXPECT_EQ(22, KelpTest::objectTypeOf(receiver()));
  const IpcEventReceiver::OneWayRequestDispatcher oneWayRequestDispatcher;
  EXPECT_EQ(23, KelpTest::objectTypeOf(oneWayRequestDispatcher));
  const IpcEventReceiver::RequestDispatcher requestDispatcher;
  EXPECT_EQ(24, KelpTest::objectTypeOf(requestDispatcher));
}

TEST_F(IpcEventReceiverTest, ServesACopyOfItsAddress) {
  const Kelp::IpcAddressApi address(1234);
  IpcEventReceiver api(address);
  EXPECT_NE(&address, &api.getIpcAddress());
  EXPECT_EQ("/tmp/Kelp/fifo000004D2", api.getIpcAddress().getFifoFilePath());
  EXPECT_TRUE(KelpTest::exists("/tmp/Kelp/fifo000004D2"));
}

TEST_F(IpcEventReceiverTest, TheLoopGetsADuplicateAndNoDescriptorOutlivesAnExec) {
  const int writers = 1;
  const std::vector<int> fds = KelpTest::descriptorsOf(kCorePath);
  EXPECT_EQ(2U + writers, fds.size());
  for (const int fd : fds) {
    EXPECT_TRUE(KelpTest::isCloseOnExec(fd));
  }
  EXPECT_NE(-1, receiver().getFd());
}

TEST_F(IpcEventReceiverTest, ClosesBothDescriptorsAndRemovesTheFifo) {
  const int fd = receiver().getFd();
  destroyReceiver();
  EXPECT_FALSE(KelpTest::exists(kCorePath));
  EXPECT_EQ(1U, KelpTest::descriptorsOf(std::string(kCorePath) + " (deleted)").size());
  EXPECT_EQ(-1, fcntl(fd, F_GETFD, 0));
}

TEST_F(IpcEventReceiverTest, FreesItsAddress) {
  const IpcAddress* const address = &receiver().getIpcAddress();
  destroyReceiver();
  EXPECT_FALSE(ObjectRegistry::getInstance().contains(address));
}

TEST_F(IpcEventReceiverTest, WithoutADuplicateTheLoopRefusesIt) {
  const KelpTest::CallFault fault(Call::Fcntl, EMFILE);
  IpcEventReceiver api((Kelp::IpcAddressApi(1234)));
  EXPECT_EQ(-1, api.getFd());
  Kelp::EventLooperMultiWait looper;
  EXPECT_FALSE(looper.addEventReceiver(api));
}

TEST_F(IpcEventReceiverTest, ARequestReachesTheHandlerForItsKindOfSender) {
  RequestRecorder app;
  RequestRecorder api;
  RequestRecorder core;
  receiver().setRequestHandler(Kelp::IpcAddressType_App, app);
  receiver().setRequestHandler(Kelp::IpcAddressType_Api, api);
  receiver().setRequestHandler(Kelp::IpcAddressType_Core, core);
  receive(makeMessage(1, 5, 0, 3, 1, "from app"));
  receive(makeMessage(1, 6, 1, 1234, 0, "from api"));
  receive(makeMessage(1, 7, 2, 0xCCCCCCCC, 0, "from core"));

  ASSERT_EQ(1U, app.told.size());
  EXPECT_EQ("from app", app.told[0].text);
  EXPECT_EQ("/tmp/Kelp/fifo00000003_00000001", app.told[0].fifoPath);
  EXPECT_EQ(5U, app.told[0].sessionId);
  ASSERT_EQ(1U, api.told.size());
  EXPECT_EQ("from api", api.told[0].text);
  EXPECT_EQ("/tmp/Kelp/fifo000004D2", api.told[0].fifoPath);
  ASSERT_EQ(1U, core.told.size());
  EXPECT_EQ("from core", core.told[0].text);
  EXPECT_EQ(kCorePath, core.told[0].fifoPath);
}

TEST_F(IpcEventReceiverTest, AOneWayRequestReachesTheHandlerForItsKindOfSender) {
  OneWayRecorder app;
  OneWayRecorder api;
  OneWayRecorder core;
  receiver().setOneWayRequestHandler(Kelp::IpcAddressType_App, app);
  receiver().setOneWayRequestHandler(Kelp::IpcAddressType_Api, api);
  receiver().setOneWayRequestHandler(Kelp::IpcAddressType_Core, core);
  receive(makeMessage(0, 0xFFFFFFFF, 0, 3, 1, "from app"));
  receive(makeMessage(0, 0xFFFFFFFF, 1, 1234, 0, "from api"));
  receive(makeMessage(0, 0xFFFFFFFF, 2, 0, 0, "from core"));

  ASSERT_EQ(1U, app.told.size());
  EXPECT_EQ("from app", app.told[0].text);
  EXPECT_EQ("/tmp/Kelp/fifo00000003_00000001", app.told[0].fifoPath);
  ASSERT_EQ(1U, api.told.size());
  EXPECT_EQ("from api", api.told[0].text);
  ASSERT_EQ(1U, core.told.size());
  EXPECT_EQ("from core", core.told[0].text);
}

TEST_F(IpcEventReceiverTest, AOneWayRequestWithoutPayloadReachesItsHandler) {
  OneWayRecorder handler;
  receiver().setOneWayRequestHandler(Kelp::IpcAddressType_App, handler);
  receive(makeMessage(0, 0xFFFFFFFF, 0, 3, 1, ""));
  ASSERT_EQ(1U, handler.told.size());
  EXPECT_EQ("", handler.told[0].text);
}

TEST_F(IpcEventReceiverTest, AMessageWithoutPayloadStillHasSomethingToReferTo) {
  Inspector handler;
  handleRequestsOfAll(handler);
  receive(makeMessage(1, 5, 0, 3, 1, ""));
  EXPECT_NE(0U, handler.data);
}

TEST_F(IpcEventReceiverTest, AResponseReachesTheHandlerThatAwaitsIt) {
  KelpTest::ResponseRecorder handler;
  receiver().addResponseHandler(9, handler, -1);
  receive(makeMessage(2, 9, 1, 1234, 0, "answer"));
  ASSERT_EQ(1U, handler.told.size());
  EXPECT_EQ("answer", handler.told[0].text);
  EXPECT_EQ("/tmp/Kelp/fifo000004D2", handler.told[0].fifoPath);
}

TEST_F(IpcEventReceiverTest, AResponseWithoutPayloadReachesItsHandler) {
  KelpTest::ResponseRecorder handler;
  receiver().addResponseHandler(9, handler, -1);
  receive(makeMessage(2, 9, 1, 1234, 0, ""));
  ASSERT_EQ(1U, handler.told.size());
  EXPECT_EQ("", handler.told[0].text);
}

TEST_F(IpcEventReceiverTest, EachCallTakesOneMessage) {
  RequestRecorder handler;
  handleRequestsOfAll(handler);
  write(makeMessage(1, 5, 0, 3, 1, "first"));
  write(makeMessage(1, 6, 0, 3, 1, "second"));
  receiver().receiveAndExecuteEvent();
  EXPECT_EQ(1U, handler.told.size());
  receiver().receiveAndExecuteEvent();
  ASSERT_EQ(2U, handler.told.size());
  EXPECT_EQ("second", handler.told[1].text);
}

TEST_F(IpcEventReceiverTest, PayloadAndSourceAddressAreGoneAfterTheCall) {
  Inspector handler;
  handleRequestsOfAll(handler);
  write(makeMessage(1, 5, 0, 3, 1, "hello"));
  const int mallocs = KelpTest::callCount(Call::Malloc);
  const int frees = KelpTest::callCount(Call::Free);
  receiver().receiveAndExecuteEvent();
  EXPECT_EQ(1, KelpTest::callCount(Call::Malloc) - mallocs);
  EXPECT_EQ(1, KelpTest::callCount(Call::Free) - frees);
  ASSERT_NE(nullptr, handler.address);
  EXPECT_FALSE(ObjectRegistry::getInstance().contains(handler.address));
}

TEST_F(IpcEventReceiverTest, AHandlerMayDeleteTheReceiver) {
  RequestRecorder handler;
  handler.then = [this](IpcAddress& src, Kelp::SessionId_t /*sessionId*/) {
    destroyReceiver();
    EXPECT_EQ("/tmp/Kelp/fifo00000003_00000001", src.getFifoFilePath());
  };
  handleRequestsOfAll(handler);
  const LogCapture log;
  receive(makeMessage(1, 5, 0, 3, 1, "the last one"));
  EXPECT_EQ(1U, handler.told.size());
  EXPECT_FALSE(KelpTest::exists(kCorePath));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(IpcEventReceiverTest, AOneWayHandlerMayDeleteTheReceiver) {
  OneWayRecorder handler;
  handler.then = [this] { destroyReceiver(); };
  receiver().setOneWayRequestHandler(Kelp::IpcAddressType_App, handler);
  receive(makeMessage(0, 0xFFFFFFFF, 0, 3, 1, "the last one"));
  EXPECT_EQ(1U, handler.told.size());
  EXPECT_FALSE(KelpTest::exists(kCorePath));
}

TEST_F(IpcEventReceiverTest, AResponseHandlerMayDeleteTheReceiver) {
  KelpTest::ResponseRecorder handler;
  handler.then = [this](Kelp::SessionId_t /*sessionId*/) { destroyReceiver(); };
  receiver().addResponseHandler(9, handler, -1);
  receive(makeMessage(2, 9, 1, 1234, 0, "the last one"));
  EXPECT_EQ(1U, handler.told.size());
  EXPECT_FALSE(KelpTest::exists(kCorePath));
}

// Until then nobody else is served; and the rest is whatever comes next, from whomever.
TEST_F(IpcEventReceiverTest, AHalfMessageHoldsItsReaderUntilTheRestHasCome) {
  RequestRecorder handler;
  handleRequestsOfAll(handler);
  KelpTest::Bytes half = toBytes(makeMessage(1, 5, 0, 3, 1, "hello"));
  half.resize(34);
  write(half);
  std::thread reader([this] { receiver().receiveAndExecuteEvent(); });
  while (KelpTest::bytesWaiting(receiver().getFd()) > 0) {
    sched_yield();
  }
  write(makeMessage(1, 6, 1, 1234, 0, "of another sender"));
  reader.join();
  ASSERT_EQ(1U, handler.told.size());
  EXPECT_EQ(5U, handler.told[0].sessionId);
  EXPECT_EQ(std::string("he\x01\0\0", 5), handler.told[0].text);
}

TEST_F(IpcEventReceiverTest, AMessageThatCannotBeReadIsDroppedAndTheNextOneIsServed) {
  RequestRecorder handler;
  handleRequestsOfAll(handler);
  const LogCapture log;
  {
    const KelpTest::CallFault fault(Call::Read, EIO);
    receiver().receiveAndExecuteEvent();
  }
  ASSERT_EQ(2U, log.lines().size());
  EXPECT_EQ("receive", log.lines()[0].function);
  EXPECT_EQ(receiveLine(), log.lines()[1]);
  receive(makeMessage(1, 5, 0, 3, 1, "next"));
  EXPECT_EQ(1U, handler.told.size());
}

TEST_F(IpcEventReceiverTest, AMessageWithoutMemoryForItsPayloadIsDropped) {
  RequestRecorder handler;
  handleRequestsOfAll(handler);
  const LogCapture log;
  const KelpTest::CallFault fault(Call::Malloc, ENOMEM);
  receive(makeMessage(1, 5, 0, 3, 1, "hello"));
  EXPECT_TRUE(handler.told.empty());
  EXPECT_TRUE(log.contains(receiveLine()));
}

TEST_F(IpcEventReceiverTest, ASenderWithoutAHandlerForItsKindEndsTheProcess) {
  RequestRecorder requestHandler;
  OneWayRecorder oneWayHandler;
  receiver().setRequestHandler(Kelp::IpcAddressType_App, requestHandler);
  receiver().setOneWayRequestHandler(Kelp::IpcAddressType_App, oneWayHandler);
  EXPECT_DEATH(receive(makeMessage(1, 5, 1, 1234, 0, "hello")),
               "IpcEventReceiver.cpp:[0-9]+: .*::RequestDispatcher::dispatch\\(.*\\): Assertion "
               "`m_pHandler\\[ srcIpcAddress.getIpcAddressType\\(\\) \\] != __null' failed");
  EXPECT_DEATH(receive(makeMessage(0, 5, 1, 1234, 0, "hello")),
               "IpcEventReceiver.cpp:[0-9]+: .*::OneWayRequestDispatcher::dispatch\\(.*\\): Assertion "
               "`m_pHandler\\[ srcIpcAddress.getIpcAddressType\\(\\) \\] != __null' failed");
}

TEST_F(IpcEventReceiverTest, SettingAHandlerTwiceEndsTheProcess) {
  RequestRecorder requestHandler;
  OneWayRecorder oneWayHandler;
  receiver().setRequestHandler(Kelp::IpcAddressType_Api, requestHandler);
  receiver().setOneWayRequestHandler(Kelp::IpcAddressType_Api, oneWayHandler);
  EXPECT_DEATH(receiver().setRequestHandler(Kelp::IpcAddressType_Api, requestHandler),
               "::setRequestHandler\\(.*\\): Assertion `m_pHandler\\[ srcAddressType \\] == __null' failed");
  EXPECT_DEATH(receiver().setOneWayRequestHandler(Kelp::IpcAddressType_Api, oneWayHandler),
               "::setOneWayRequestHandler\\(.*\\): Assertion `m_pHandler\\[ srcAddressType \\] == __null' failed");
}

TEST_F(IpcEventReceiverTest, SettingAHandlerForAKindThatDoesNotExistEndsTheProcess) {
  RequestRecorder requestHandler;
  OneWayRecorder oneWayHandler;
  for (const int number : {3, 4, -1}) {
    const auto type = static_cast<IpcAddressType>(number);
    EXPECT_DEATH(receiver().setRequestHandler(type, requestHandler),
                 "Assertion `0 <= srcAddressType && srcAddressType < IpcAddressType_Max' failed")
        << number;
    EXPECT_DEATH(receiver().setOneWayRequestHandler(type, oneWayHandler),
                 "Assertion `0 <= srcAddressType && srcAddressType < IpcAddressType_Max' failed")
        << number;
  }
}

TEST_F(IpcEventReceiverTest, AnErrorResponseOrAnUnknownKindEndsTheProcess) {
  for (const uint32_t kind : {3U, 4U, 0xFFFFFFFFU}) {
    EXPECT_DEATH(receive(makeMessage(kind, 5, 0, 3, 1, "")),
                 "IpcEventReceiver.cpp:[0-9]+: .*IpcEventReceiver::receiveAndExecuteEvent\\(\\): Assertion `false' "
                 "failed")
        << kind;
  }
}

TEST_F(IpcEventReceiverTest, AnUnknownKindOfSenderEndsTheProcess) {
  EXPECT_DEATH(receive(makeMessage(1, 5, 3, 0, 0, "hello")), "IpcAddress.cpp:[0-9]+: .*Assertion `0' failed");
}
