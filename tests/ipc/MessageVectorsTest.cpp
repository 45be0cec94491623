// Messages byte for byte, as the programs of other processors and releases write and read them.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "IpcAddressApi.h"
#include "IpcAddressApp.h"
#include "IpcAddressCore.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "IpcReceiver.h"
#include "IpcSender.h"
#include "SysFunc.h"
#include "ipc/IpcTestSupport.h"
#include "ipc/LoopFixture.h"
#include "ipc/WireMessage.h"
#include "support/Vectors.h"

using Kelp::IpcAddress;
using Kelp::IpcHeader;
using Kelp::SessionId_t;
using KelpTest::kFifoPath;
using KelpTest::payload;

namespace {

struct Message {
  const char* vector;
  Kelp::IpcMessageKind kind;
  SessionId_t sessionId;
  std::shared_ptr<IpcAddress> source;
  const char* sourcePath;
  std::string text;
};

void PrintTo(const Message& message, std::ostream* out) {
  *out << message.vector;
}

const Message kMessages[] = {
    {"request from API client 1234", Kelp::IpcMessageKind_Request, 5, std::make_shared<Kelp::IpcAddressApi>(1234),
     "/tmp/Kelp/fifo000004D2", "ab"},
    {"request from application 3, 1", Kelp::IpcMessageKind_Request, 0x01020304,
     std::make_shared<Kelp::IpcAddressApp>(3, 1), "/tmp/Kelp/fifo00000003_00000001", std::string("\0\xFF\n\0", 4)},
    {"request from the core without payload", Kelp::IpcMessageKind_Request, 0x80000001,
     std::make_shared<Kelp::IpcAddressCore>(), "/tmp/Kelp/fifocore", ""},
    {"one-way request from application -1, -2147483648", Kelp::IpcMessageKind_OneWayRequest, Kelp::INVALID_SESSION_ID,
     std::make_shared<Kelp::IpcAddressApp>(-1, INT32_MIN), "/tmp/Kelp/fifoFFFFFFFF_80000000", "report"},
    {"one-way request from API client 2147483647 with the largest payload", Kelp::IpcMessageKind_OneWayRequest,
     Kelp::INVALID_SESSION_ID, std::make_shared<Kelp::IpcAddressApi>(INT32_MAX), "/tmp/Kelp/fifo7FFFFFFF",
     std::string(4064, 'x')},
    {"response from the core", Kelp::IpcMessageKind_Response, 0xFFFFFFFE, std::make_shared<Kelp::IpcAddressCore>(),
     "/tmp/Kelp/fifocore", "yes"},
    {"response from application 3, 1 without payload", Kelp::IpcMessageKind_Response, 0,
     std::make_shared<Kelp::IpcAddressApp>(3, 1), "/tmp/Kelp/fifo00000003_00000001", ""},
    {"response error from the core", Kelp::IpcMessageKind_ResponseError, 7, std::make_shared<Kelp::IpcAddressCore>(),
     "/tmp/Kelp/fifocore", ""},
};

class MessageVectorsTest : public testing::TestWithParam<Message> {
 protected:
  MessageVectorsTest() : m_vector(KelpTest::vectorOf("messages.txt", GetParam().vector)) {}

  const std::string& vector() const { return m_vector; }
  static int dataSize() { return static_cast<int>(GetParam().text.size()); }

 private:
  const std::string m_vector;
};

std::string allOf(int fd) {
  std::string bytes(8192, '\0');
  const ssize_t size = read(fd, bytes.data(), bytes.size());
  bytes.resize(size > 0 ? static_cast<size_t>(size) : 0);
  return bytes;
}

// A FIFO that is only read, by plain system calls.
class Fifo {
 public:
  explicit Fifo(const std::string& path) : m_path(path), m_fd(KelpTest::openFifoForReading(path)) {}
  ~Fifo() {
    close(m_fd);
    unlink(m_path.c_str());
  }
  Fifo(const Fifo&) = delete;
  Fifo& operator=(const Fifo&) = delete;

  std::string taken() const { return allOf(m_fd); }

 private:
  const std::string m_path;
  const int m_fd;
};

INSTANTIATE_TEST_SUITE_P(All, MessageVectorsTest, testing::ValuesIn(kMessages));

}  // namespace

TEST_P(MessageVectorsTest, SenderWritesIt) {
  const Fifo fifo(kFifoPath);
  Kelp::IpcSender sender(kFifoPath);
  IpcHeader header{};
  header.kind = GetParam().kind;
  header.sessionId = GetParam().sessionId;
  GetParam().source->fillInSourceAddress(header);
  header.dataSize = dataSize();
  std::string text = GetParam().text;
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, sender.send(header, payload<Kelp::IpcData>(text)));
  EXPECT_EQ(vector(), fifo.taken());
}

// But for a request's session id, which is issued when the request is sent.
TEST_P(MessageVectorsTest, EventSenderWritesIt) {
  const Kelp::IpcAddressApp peer(9, 9);
  const Fifo fifo(peer.getFifoFilePath());
  Kelp::IpcEventReceiver receiver(*GetParam().source);
  Kelp::IpcEventSender sender(peer, receiver);
  KelpTest::ResponseRecorder handler;
  std::string text = GetParam().text;
  std::string expected = vector();
  Kelp::CommonReturnCode_t result = Kelp::CommonReturnCode_InternalError;
  if (GetParam().kind == Kelp::IpcMessageKind_OneWayRequest) {
    result = sender.sendOneWayRequest(payload<Kelp::IpcDataOneWayRequest>(text), dataSize());
  } else if (GetParam().kind == Kelp::IpcMessageKind_Response) {
    result = sender.sendResponse(GetParam().sessionId, payload<Kelp::IpcDataResponse>(text), dataSize());
  } else if (GetParam().kind == Kelp::IpcMessageKind_ResponseError) {
    result = sender.sendResponseError(GetParam().sessionId);
  } else {
    SessionId_t sessionId = Kelp::INVALID_SESSION_ID;
    result = sender.sendRequest(payload<Kelp::IpcDataRequest>(text), dataSize(), handler, sessionId, -1);
    ASSERT_LT(sessionId, 256U);
    expected.replace(4, 4, {static_cast<char>(sessionId), '\0', '\0', '\0'});
  }
  EXPECT_EQ(Kelp::CommonReturnCode_Ok, result);
  EXPECT_EQ(expected, fifo.taken());
}

TEST_P(MessageVectorsTest, ReceiverReadsIt) {
  Kelp::IpcReceiver receiver(kFifoPath);
  const int writer = open(kFifoPath, O_WRONLY | O_CLOEXEC);
  ASSERT_EQ(static_cast<ssize_t>(vector().size()), write(writer, vector().data(), vector().size()));
  close(writer);
  IpcHeader header{};
  Kelp::IpcData* data = nullptr;
  ASSERT_EQ(Kelp::CommonReturnCode_Ok, receiver.receive(header, data, -1));
  EXPECT_EQ(GetParam().kind, header.kind);
  EXPECT_EQ(GetParam().sessionId, header.sessionId);
  EXPECT_EQ(dataSize(), header.dataSize);
  EXPECT_EQ(GetParam().text, data != nullptr ? KelpTest::textOf(*data, header.dataSize) : "");
  Kelp::SysFunc::kelpFree(data);
  const std::unique_ptr<IpcAddress> source(IpcAddress::createIpcAddress(header));
  EXPECT_EQ(GetParam().source->getIpcAddressType(), source->getIpcAddressType());
  EXPECT_EQ(GetParam().sourcePath, source->getFifoFilePath());
}

// The tests' peers that do not use the library.
TEST_P(MessageVectorsTest, PeersOfTheTestsWriteIt) {
  const Kelp::IpcSrcSpecificId id = GetParam().source->getSrcSpecificId();
  const KelpTest::Bytes bytes = KelpTest::toBytes(KelpTest::makeMessage(
      static_cast<uint32_t>(GetParam().kind), GetParam().sessionId,
      static_cast<uint32_t>(GetParam().source->getIpcAddressType()), id.words[0], id.words[1], GetParam().text));
  EXPECT_EQ(vector(), std::string(bytes.begin(), bytes.end()));
}
