// Conversations with a process that does not use the library: it knows the paths of the FIFOs and the bytes of the
// messages, and moves them with plain system calls.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "IpcAddressApi.h"
#include "IpcAddressApp.h"
#include "IpcAddressCore.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "ipc/IpcTestSupport.h"
#include "ipc/LoopFixture.h"
#include "ipc/WireMessage.h"

using Kelp::IpcAddress;
using Kelp::IpcEventReceiver;
using Kelp::IpcEventSender;
using Kelp::SessionId_t;
using KelpTest::makeMessage;
using KelpTest::payload;
using KelpTest::WireMessage;

namespace {

// One end of a conversation: its address here, and what stands for it in paths and messages.
struct End {
  std::shared_ptr<IpcAddress> address;
  std::string path;
  uint32_t type;
  uint32_t word0;
  uint32_t word1;
};

const End& appEnd() {
  static const End s_end = {std::make_shared<Kelp::IpcAddressApp>(3, -1), "/tmp/Kelp/fifo00000003_FFFFFFFF", 0, 3,
                            0xFFFFFFFF};
  return s_end;
}

const End& apiEnd() {
  static const End s_end = {std::make_shared<Kelp::IpcAddressApi>(1234), "/tmp/Kelp/fifo000004D2", 1, 1234, 0};
  return s_end;
}

const End& coreEnd() {
  static const End s_end = {std::make_shared<Kelp::IpcAddressCore>(), "/tmp/Kelp/fifocore", 2, 0xCCCCCCCC, 0};
  return s_end;
}

struct Ends {
  const char* name;
  const End& (*own)();
  const End& (*foreign)();
};

void PrintTo(const Ends& ends, std::ostream* out) {
  *out << ends.name;
}

const Ends kEnds[] = {{"CoreAndApp", coreEnd, appEnd},
                      {"CoreAndApi", coreEnd, apiEnd},
                      {"AppAndCore", appEnd, coreEnd},
                      {"ApiAndCore", apiEnd, coreEnd}};

const std::vector<std::string>& payloads() {
  static const std::vector<std::string> s_payloads = {"hello", "", std::string(1, '\0'), std::string(4064, 'x')};
  return s_payloads;
}

// The foreign process's side.
class ForeignPeer {
 public:
  ForeignPeer(const Ends& ends, KelpTest::Signpost& isReady)
      : m_ends(ends), m_own(-1), m_peer(open(ends.own().path.c_str(), O_WRONLY)) {
    mkfifo(ends.foreign().path.c_str(), 0600);
    m_own = open(ends.foreign().path.c_str(), O_RDWR);
    isReady.raise();
  }

  bool send(uint32_t kind, uint32_t sessionId, const std::string& text) const {
    const End& self = m_ends.foreign();
    return KelpTest::writeMessage(m_peer, makeMessage(kind, sessionId, self.type, self.word0, self.word1, text));
  }

  // Whether the next message is this one, byte by byte, from the library's side.
  bool receives(uint32_t kind, uint32_t sessionId, const std::string& text) const {
    WireMessage message = {};
    const End& other = m_ends.own();
    return KelpTest::readMessage(m_own, message) &&
           message == makeMessage(kind, sessionId, other.type, other.word0, other.word1, text);
  }

  // Takes a request and stores its session.
  bool receivesRequest(const std::string& text, uint32_t& sessionId) const {
    WireMessage message = {};
    const End& other = m_ends.own();
    if (!KelpTest::readMessage(m_own, message)) {
      return false;
    }
    sessionId = message.sessionId;
    return message == makeMessage(1, sessionId, other.type, other.word0, other.word1, text);
  }

 private:
  const Ends& m_ends;
  int m_own;
  int m_peer;
};

class ForeignPeerTest : public KelpTest::LoopFixture, public testing::WithParamInterface<Ends> {
 protected:
  ForeignPeerTest() : m_receiver(*GetParam().own().address) { looper().addEventReceiver(m_receiver); }
  ~ForeignPeerTest() override { looper().removeEventReceiver(m_receiver); }

  // Starts the peer; `talk` returns whether all went as it should.
  void startPeer(const std::function<bool(const ForeignPeer&)>& talk) {
    m_peer = std::make_unique<KelpTest::ChildProcess>([&] {
      const ForeignPeer peer(GetParam(), m_isReady);
      return talk(peer) ? 0 : 1;
    });
    ASSERT_TRUE(m_isReady.await());
  }

  bool endedWell() { return m_peer->wait() == 0; }

  static IpcAddress& own() { return *GetParam().own().address; }
  static IpcAddress& foreign() { return *GetParam().foreign().address; }
  static Kelp::IpcAddressType foreignType() { return static_cast<Kelp::IpcAddressType>(GetParam().foreign().type); }

  IpcEventReceiver m_receiver;

 private:
  KelpTest::Signpost m_isReady;
  std::unique_ptr<KelpTest::ChildProcess> m_peer;
};

INSTANTIATE_TEST_SUITE_P(All, ForeignPeerTest, testing::ValuesIn(kEnds),
                         [](const testing::TestParamInfo<Ends>& ends) { return ends.param.name; });

}  // namespace

TEST_P(ForeignPeerTest, ItsRequestsAreAnswered) {
  startPeer([](const ForeignPeer& peer) {
    for (const std::string& text : payloads()) {
      if (!peer.send(1, 0xABCDEF01, text) || !peer.receives(2, 0xABCDEF01, text)) {
        return false;
      }
    }
    return true;
  });
  KelpTest::RequestRecorder handler;
  handler.then = [&handler](IpcAddress& src, SessionId_t sessionId) {
    IpcEventSender sender(src, own());
    std::string text = handler.told.back().text;
    EXPECT_EQ(Kelp::CommonReturnCode_Ok,
              sender.sendResponse(sessionId, payload<Kelp::IpcDataResponse>(text), static_cast<int>(text.size())));
    if (handler.told.size() == payloads().size()) {
      endLoop();
    }
  };
  m_receiver.setRequestHandler(foreignType(), handler);
  looper().runEventLoop();
  EXPECT_TRUE(endedWell());
  for (size_t i = 0; i < payloads().size(); ++i) {
    EXPECT_EQ(payloads()[i], handler.told[i].text);
    EXPECT_EQ(0xABCDEF01, handler.told[i].sessionId);
    EXPECT_EQ(GetParam().foreign().path, handler.told[i].fifoPath);
  }
}

TEST_P(ForeignPeerTest, ItAnswersRequests) {
  startPeer([](const ForeignPeer& peer) {
    for (const std::string& text : payloads()) {
      uint32_t sessionId = 0;
      if (!peer.receivesRequest(text, sessionId) || !peer.send(2, sessionId, text)) {
        return false;
      }
    }
    return true;
  });
  IpcEventSender sender(foreign(), m_receiver);
  KelpTest::ResponseRecorder handler;
  SessionId_t lastSession = 0;
  const auto ask = [&](std::string text) {
    EXPECT_EQ(Kelp::CommonReturnCode_Ok,
              sender.sendRequest(payload<Kelp::IpcDataRequest>(text), static_cast<int>(text.size()), handler,
                                 lastSession, 60000));
  };
  handler.then = [&](SessionId_t sessionId) {
    EXPECT_EQ(lastSession, sessionId);
    if (handler.told.size() == payloads().size()) {
      endLoop();
    } else {
      ask(payloads()[handler.told.size()]);
    }
  };
  runLoop([&] { ask(payloads()[0]); });
  EXPECT_TRUE(endedWell());
  ASSERT_EQ(payloads().size(), handler.told.size());
  for (size_t i = 0; i < payloads().size(); ++i) {
    EXPECT_EQ(payloads()[i], handler.told[i].text);
    EXPECT_EQ(GetParam().foreign().path, handler.told[i].fifoPath);
  }
}

TEST_P(ForeignPeerTest, OneWayRequestsGoBothWays) {
  startPeer([](const ForeignPeer& peer) {
    for (const std::string& text : payloads()) {
      if (!peer.send(0, 0xFFFFFFFF, text) || !peer.receives(0, 0xFFFFFFFF, text)) {
        return false;
      }
    }
    return true;
  });
  IpcEventSender sender(foreign(), own());
  KelpTest::OneWayRecorder handler;
  handler.then = [&] {
    std::string text = handler.told.back().text;
    EXPECT_EQ(Kelp::CommonReturnCode_Ok,
              sender.sendOneWayRequest(payload<Kelp::IpcDataOneWayRequest>(text), static_cast<int>(text.size())));
    if (handler.told.size() == payloads().size()) {
      endLoop();
    }
  };
  m_receiver.setOneWayRequestHandler(foreignType(), handler);
  looper().runEventLoop();
  EXPECT_TRUE(endedWell());
  for (size_t i = 0; i < payloads().size(); ++i) {
    EXPECT_EQ(payloads()[i], handler.told[i].text);
    EXPECT_EQ(GetParam().foreign().path, handler.told[i].fifoPath);
  }
}

TEST_P(ForeignPeerTest, ItGetsErrorResponses) {
  startPeer([](const ForeignPeer& peer) { return peer.send(1, 7, "nonsense") && peer.receives(3, 7, ""); });
  KelpTest::RequestRecorder handler;
  handler.then = [](IpcAddress& src, SessionId_t sessionId) {
    IpcEventSender sender(src, own());
    EXPECT_EQ(Kelp::CommonReturnCode_Ok, sender.sendResponseError(sessionId));
    endLoop();
  };
  m_receiver.setRequestHandler(foreignType(), handler);
  looper().runEventLoop();
  EXPECT_TRUE(endedWell());
}

TEST_P(ForeignPeerTest, ItsErrorResponseEndsTheReceivingProcess) {
  KelpTest::ChildProcess kelp([this] {
    looper().runEventLoop();
    return 0;
  });
  KelpTest::Signpost isReady;
  const ForeignPeer peer(GetParam(), isReady);
  EXPECT_TRUE(peer.send(3, 7, ""));
  EXPECT_EQ(-SIGABRT, kelp.wait());
}
