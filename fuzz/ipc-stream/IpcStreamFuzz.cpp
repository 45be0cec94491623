// The input is what a receiver is made for, and what other processes write into its FIFO:
//   a byte     which handlers there are: bits 0 to 2 for the requests, bits 3 to 5 for the one-way requests of
//              applications, API clients and the core
//   a byte n   and n modulo 8 words: the sessions that await a response
//   messages   a byte for their form (takeMessage()), the words of the header, and the payload (Input::text())
// Every message is written whole. The first that breaks the protocol ends the process on its assertion: with it the
// input is over.
#include <fcntl.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "IpcAddressApp.h"
#include "IpcEventReceiver.h"
#include "fuzz/ipc-stream/InFlight.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/Input.h"
#include "fuzz/support/Platform.h"
#include "tests/ipc/WireMessage.h"

namespace {

using Kelp::IpcAddress;
using Kelp::IpcAddressApp;
using Kelp::IpcAddressType;
using Kelp::IpcEventReceiver;
using Kelp::IpcEventSender;
using Kelp::SessionId_t;
using KelpFuzz::Input;
using KelpTest::WireMessage;

constexpr uint32_t kOneWayRequest = 0;
constexpr uint32_t kRequest = 1;
constexpr uint32_t kResponse = 2;
constexpr unsigned int kSourceTypes = 3;
constexpr size_t kLargestPayload = 4064;
constexpr size_t kMostMessages = 12;  // what a FIFO takes of the largest ones, with some to spare
constexpr int kOwnFirstId = 0x46555A5A;

struct Told {
  uint32_t kind;
  std::string source;  // path of its FIFO
  uint32_t sessionId;  // not of a one-way request
  std::string payload;
};

bool operator==(const Told& left, const Told& right) {
  return left.kind == right.kind && left.source == right.source && left.sessionId == right.sessionId &&
         left.payload == right.payload;
}

std::ostream& operator<<(std::ostream& out, const Told& told) {
  return out << "kind " << told.kind << " from " << told.source << ", session " << told.sessionId << ": "
             << KelpFuzz::shown(told.payload);
}

// All handlers in one, and what they were told.
class Handlers : public IpcEventReceiver::RequestHandler,
                 public IpcEventReceiver::OneWayRequestHandler,
                 public IpcEventSender::ResponseHandler {
 public:
  std::vector<Told> told;

  void handleRequest(IpcAddress& source, Kelp::IpcDataRequest& data, int dataSize, SessionId_t sessionId) override {
    tell(kRequest, source, sessionId, data, dataSize);
  }
  void handleOneWayRequest(IpcAddress& source, Kelp::IpcDataOneWayRequest& data, int dataSize) override {
    tell(kOneWayRequest, source, 0, data, dataSize);
  }
  void handleResponse(SessionId_t sessionId, IpcAddress& source, Kelp::IpcDataResponse& data, int dataSize) override {
    tell(kResponse, source, sessionId, data, dataSize);
  }

 private:
  void tell(uint32_t kind, IpcAddress& source, SessionId_t sessionId, const Kelp::IpcData& data, int dataSize) {
    told.push_back({kind, source.getFifoFilePath(), sessionId,
                    std::string(reinterpret_cast<const char*>(&data), static_cast<size_t>(dataSize))});
  }
};

bool isDataSizeValid(uint32_t dataSize) {
  return dataSize <= kLargestPayload;
}

// The bits of the form:
//   0 to 2   the kind; 7 is a word's
//   3 and 4  the type of the source; 3 is a word's
//   5        the session is a word's; else it is one of those that are awaited, by a byte, where there are any
//   6        the source's identity is two words
//   7        the data size is a word's, unless a message may have that: then it is the payload's, as otherwise
WireMessage takeMessage(Input& input, const std::vector<uint32_t>& sessions) {
  const uint8_t form = input.byte();
  WireMessage message = {};
  message.kind = (form & 7U) == 7 ? input.word() : form & 7U;
  message.srcAddressType = (form >> 3 & 3U) == 3 ? input.word() : form >> 3 & 3U;
  message.sessionId = (form & 0x20U) != 0 || sessions.empty() ? input.word() : sessions[input.byte() % sessions.size()];
  message.srcSpecificId0 = (form & 0x40U) != 0 ? input.word() : 0;
  message.srcSpecificId1 = (form & 0x40U) != 0 ? input.word() : 1;
  message.reserved[0] = message.reserved[1] = form;
  if ((form & 0x80U) != 0) {
    message.dataSize = input.word();
  }
  // A size that is no message's comes without a payload: the next message follows at once.
  if ((form & 0x80U) == 0 || isDataSizeValid(message.dataSize)) {
    message.payload = input.text().substr(0, kLargestPayload);
    message.dataSize = static_cast<uint32_t>(message.payload.size());
  }
  return message;
}

std::string sourcePath(const WireMessage& message) {
  char path[64];
  switch (message.srcAddressType) {
    case 0:
      snprintf(path, sizeof(path), "/tmp/Kelp/fifo%08X_%08X", message.srcSpecificId0, message.srcSpecificId1);
      return path;
    case 1:
      snprintf(path, sizeof(path), "/tmp/Kelp/fifo%08X", message.srcSpecificId0);
      return path;
    default:
      return "/tmp/Kelp/fifocore";
  }
}

// What is to become of messages.
class Model {
 public:
  Model(unsigned int handlers, std::vector<uint32_t> sessions)
      : m_handlers(handlers), m_sessions(std::move(sessions)) {}

  // The expression of the assertion that the message ends on, or "". What a handler is told goes to `told`.
  std::string take(const WireMessage& message, std::vector<Told>& told) {
    if (!isDataSizeValid(message.dataSize)) {
      return "";
    }
    if (message.srcAddressType >= kSourceTypes) {
      return "0";
    }
    switch (message.kind) {
      case kRequest:
      case kOneWayRequest:
        return takeRequest(message, told);
      case kResponse:
        takeResponse(message, told);
        return "";
      default:
        return "false";
    }
  }

 private:
  std::string takeRequest(const WireMessage& message, std::vector<Told>& told) {
    const bool isRequest = message.kind == kRequest;
    const unsigned int bit = message.srcAddressType + (isRequest ? 0 : kSourceTypes);
    if ((m_handlers >> bit & 1U) == 0) {
      return "m_pHandler[ srcIpcAddress.getIpcAddressType() ] != __null";
    }
    told.push_back({message.kind, sourcePath(message), isRequest ? message.sessionId : 0, message.payload});
    return "";
  }

  void takeResponse(const WireMessage& message, std::vector<Told>& told) {
    const auto session = std::find(m_sessions.begin(), m_sessions.end(), message.sessionId);
    if (session != m_sessions.end()) {
      m_sessions.erase(session);
      told.push_back({kResponse, sourcePath(message), message.sessionId, message.payload});
    }
  }

  const unsigned int m_handlers;
  std::vector<uint32_t> m_sessions;
};

std::vector<uint32_t> takeSessions(Input& input) {
  std::vector<uint32_t> sessions;
  for (size_t count = input.byte() % 8; count > 0; --count) {
    const uint32_t session = input.word();
    if (std::find(sessions.begin(), sessions.end(), session) == sessions.end()) {  // twice would be an assertion
      sessions.push_back(session);
    }
  }
  return sessions;
}

void setHandlers(IpcEventReceiver& receiver, Handlers& handlers, unsigned int which) {
  for (unsigned int type = 0; type < kSourceTypes; ++type) {
    if ((which >> type & 1U) != 0) {
      receiver.setRequestHandler(static_cast<IpcAddressType>(type), handlers);
    }
    if ((which >> (type + kSourceTypes) & 1U) != 0) {
      receiver.setOneWayRequestHandler(static_cast<IpcAddressType>(type), handlers);
    }
  }
}

// Reads what was written. Returns whether the process would live on.
bool readMessages(IpcEventReceiver& receiver, Handlers& handlers, const std::vector<WireMessage>& messages,
                  Model& model) {
  for (const WireMessage& message : messages) {
    std::vector<Told> expected;
    const std::string expectedAssertion = model.take(message, expected);
    handlers.told.clear();
    KelpFuzz::InFlight inFlight;
    const std::string assertion = KelpFuzz::assertionOf([&] { receiver.receiveAndExecuteEvent(); });
    FUZZ_CHECK_EQ(assertion, expectedAssertion);
    FUZZ_CHECK_EQ(handlers.told.size(), expected.size());
    if (!expected.empty()) {
      FUZZ_CHECK_EQ(handlers.told.front(), expected.front());
    }
    if (!assertion.empty()) {
      inFlight.release();
      return false;
    }
  }
  FUZZ_CHECK_EQ(KelpTest::bytesWaiting(receiver.getFd()), 0);
  return true;
}

void run(Input& input) {
  const unsigned int which = input.byte();
  const std::vector<uint32_t> sessions = takeSessions(input);
  auto handlers = std::make_unique<Handlers>();
  auto receiver = std::make_unique<IpcEventReceiver>(IpcAddressApp(kOwnFirstId, getpid()));
  const std::string path = receiver->getIpcAddress().getFifoFilePath();
  setHandlers(*receiver, *handlers, which);
  for (const uint32_t session : sessions) {
    receiver->addResponseHandler(session, *handlers, -1);
  }
  const int fd = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  Model model(which, sessions);
  bool isAlive = true;
  while (!input.isEmpty() && isAlive) {
    std::vector<WireMessage> messages;
    while (!input.isEmpty() && messages.size() < kMostMessages) {
      messages.push_back(takeMessage(input, sessions));
      FUZZ_CHECK(KelpTest::writeMessage(fd, messages.back()));
    }
    isAlive = readMessages(*receiver, *handlers, messages, model);
  }
  close(fd);
  if ((which & 0x40U) != 0) {
    handlers.reset();  // abandons the sessions that still wait
  }
  receiver.reset();
  FUZZ_CHECK(!KelpFuzz::isThere(path));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const KelpFuzz::Residue residue;
  Input input(data, size);
  run(input);
  return 0;
}
