#include "fuzz/ipc-stream/Conversation.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "IpcAddressApp.h"
#include "fuzz/ipc-stream/Clock.h"
#include "fuzz/ipc-stream/InFlight.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/Platform.h"

using Kelp::IpcAddress;
using Kelp::IpcAddressType;
using Kelp::IpcEventReceiver;
using Kelp::SessionId_t;
using KelpTest::WireMessage;

namespace KelpFuzz {

namespace {

constexpr int kOwnFirstId = 0x46555A5A;
constexpr size_t kMostMessages = 12;  // what a FIFO takes of the largest ones, with some to spare
constexpr size_t kMostStale = 4096;   // bytes that were there before
constexpr size_t kMostSessions = 10;  // to one input: more are slow and nothing new
constexpr int64_t kMillisecond = 1000000;
constexpr int64_t kAllTime = (int64_t{1} << 31) * kMillisecond;  // no time-out is longer
constexpr uint8_t kAllTimeByte = 250;                            // and those above it

std::string textOf(const Kelp::IpcData& data, int dataSize) {
  return std::string(reinterpret_cast<const char*>(&data), static_cast<size_t>(dataSize));
}

}  // namespace

// Gives each pass of the loop something to do, and ends the loop when nothing is left.
class Conversation::Looper : public Kelp::EventLooperMultiWait {
 public:
  explicit Looper(Conversation& conversation) : m_conversation(conversation) {}

  void processEvent() override {
    if (!m_conversation.prepare()) {
      exitEventLoop();
      return;
    }
    Kelp::EventLooperMultiWait::processEvent();
    m_conversation.m_expectation.checkLog();
  }

 private:
  Conversation& m_conversation;
};

class Conversation::Receiver : public IpcEventReceiver, public Kelp::Disposable {
 public:
  explicit Receiver(Conversation& conversation)
      : IpcEventReceiver(Kelp::IpcAddressApp(kOwnFirstId, getpid())), m_conversation(conversation) {}

  void receiveAndExecuteEvent() override { m_conversation.receive(); }

 private:
  Conversation& m_conversation;
};

// May die in its own calls: nothing is done behind them.
class Conversation::Waiter : public Kelp::IpcEventSender::ResponseHandler {
 public:
  Waiter(Conversation& conversation, unsigned int number) : m_conversation(conversation), m_number(number) {}

  void handleResponse(SessionId_t sessionId, IpcAddress& source, Kelp::IpcDataResponse& data, int dataSize) override {
    m_conversation.handleResponse(m_number, sessionId, source, data, dataSize);
  }
  void handleTimeoutError(SessionId_t sessionId) override { m_conversation.handleTimeout(m_number, sessionId); }

 private:
  Conversation& m_conversation;
  const unsigned int m_number;
};

Conversation::Conversation(Input& input)
    : m_input(input),
      m_handlers(input.byte()),
      m_setting(input.byte()),
      m_expectation(m_handlers),
      m_looper(new Looper(*this)) {}

Conversation::~Conversation() = default;

void Conversation::run() {
  m_path = Kelp::IpcAddressApp(kOwnFirstId, getpid()).getFifoFilePath();
  if ((m_setting & 0x40U) != 0) {
    makeReceiverOnStaleFifo();
  } else {
    m_receiver = std::make_unique<Receiver>(*this);
  }
  FUZZ_CHECK_EQ(m_receiver->getIpcAddress().getFifoFilePath(), m_path);
  m_fd = open(m_path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  setHandlers();
  FUZZ_CHECK(m_looper->addEventReceiver(*m_receiver));
  m_looper->runEventLoop();
  finish();
}

void Conversation::makeReceiverOnStaleFifo() {
  const std::string stale = m_input.text().substr(0, kMostStale);
  FUZZ_CHECK(mkfifo(m_path.c_str(), 0600) == 0);
  const int fd = open(m_path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  FUZZ_CHECK(::write(fd, stale.data(), stale.size()) == static_cast<ssize_t>(stale.size()));
  m_stream.write(stale);
  m_expectation.logged("###ERROR###\n");  // for the FIFO cannot be made
  m_receiver = std::make_unique<Receiver>(*this);
  close(fd);
}

void Conversation::setHandlers() {
  for (unsigned int type = 0; type < kSourceTypes; ++type) {
    if ((m_handlers >> type & 1U) != 0) {
      m_receiver->setRequestHandler(static_cast<IpcAddressType>(type), *this);
    }
    if ((m_handlers >> (type + kSourceTypes) & 1U) != 0) {
      m_receiver->setOneWayRequestHandler(static_cast<IpcAddressType>(type), *this);
    }
  }
}

// Sessions with a time-out can only be begun inside the loop.
bool Conversation::prepare() {
  if (!m_isBegun) {
    m_isBegun = true;
    addFirstSessions();
  }
  while (!m_isOver && !isSomethingToDo()) {
    if (m_input.isEmpty()) {
      FUZZ_CHECK_EQ(static_cast<size_t>(KelpTest::bytesWaiting(m_receiver->getFd())), m_stream.size());
      return false;
    }
    writeNext();
  }
  return !m_isOver && (m_stream.size() == 0 || m_stream.hasMessage());
}

bool Conversation::isSomethingToDo() const {
  return m_stream.hasMessage() || std::any_of(m_sessions.begin(), m_sessions.end(), [](const auto& each) {
           return each.second.timeout != -1 && each.second.expiry <= Clock::now();
         });
}

void Conversation::writeNext() {
  for (size_t messages = 0; !m_input.isEmpty() && messages < kMostMessages && !m_isOver;) {
    const uint8_t form = m_input.byte();
    switch (form & 7U) {
      case 4: {
        const uint8_t time = m_input.byte();
        Clock::pass(time < kAllTimeByte ? time * kMillisecond : kAllTime);
        break;
      }
      case 5:
        takeOther();
        break;
      case 6:
        return;
      default:
        write(KelpTest::toBytes(takeMessage(m_input, form, m_sessionIds)));
        ++messages;
    }
  }
}

void Conversation::write(const KelpTest::Bytes& bytes) {
  FUZZ_CHECK(KelpTest::writeBytes(m_fd, bytes));
  m_stream.write(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

void Conversation::takeOther() {
  const uint8_t what = m_input.byte();
  if ((what & 0x80U) != 0) {
    await(takeSession());
  } else {
    kill(what % kWaiters);
  }
}

void Conversation::addFirstSessions() {
  if ((m_handlers & 0x80U) != 0) {
    const uint8_t deed = m_input.byte();
    m_deedOfRequests = deed >> 5;
    m_requestsToDeed = (deed & 0x1FU) + 1;
  }
  for (unsigned int count = m_setting % 8; count > 0 && !m_isOver; --count) {
    const Session session = (m_setting & 0x80U) != 0 ? takeSession() : Session{m_input.word(), 0, -1, Deed::Nothing, 0};
    if (m_sessions.count(session.id) == 0) {  // others meet their equals
      await(session);
    }
  }
}

Conversation::Session Conversation::takeSession() {
  Session session = {m_input.word(), 0, -1, Deed::Nothing, 0};
  const uint8_t form = m_input.byte();
  session.handler = (form & 3U) % kWaiters;
  switch (form >> 2 & 3U) {
    case 1:
      session.timeout = m_input.byte() + 1;
      break;
    case 2:
      session.timeout = static_cast<int>(m_input.word());
      break;
    default:
      break;
  }
  session.deed = static_cast<Deed>((form >> 4) % 7U);
  return session;
}

void Conversation::await(Session session) {
  if (m_sessionIds.size() >= kMostSessions) {
    return;
  }
  std::string expected;
  if (m_sessions.count(session.id) != 0) {
    expected = "m_sessionInfoMap.find( sessionId ) == m_sessionInfoMap.end()";
  } else if (session.timeout != -1 && session.timeout <= 0) {
    expected = "timeout == -1 || timeout > 0";
  }
  std::unique_ptr<Waiter>& waiter = m_waiters[session.handler];
  if (waiter == nullptr) {
    waiter = std::make_unique<Waiter>(*this, session.handler);
  }
  const std::string assertion =
      assertionOf([&] { m_receiver->addResponseHandler(session.id, *waiter, session.timeout); });
  FUZZ_CHECK_EQ(assertion, expected);
  if (!assertion.empty()) {
    return end();
  }
  if (session.timeout != -1) {
    FUZZ_CHECK_EQ(Clock::lastPeriod(), session.timeout * kMillisecond);
    session.expiry = Clock::now() + Clock::lastPeriod();
  }
  m_sessions[session.id] = session;
  m_sessionIds.push_back(session.id);
}

void Conversation::kill(unsigned int waiter) {
  if (m_waiters[waiter] == nullptr) {
    return;
  }
  const Kelp::IpcEventSender::ResponseHandler* const handler = m_waiters[waiter].get();
  for (auto session = m_sessions.begin(); session != m_sessions.end();) {
    const bool isWaiters = session->second.handler == waiter;
    session = isWaiters ? m_sessions.erase(session) : std::next(session);
    if (isWaiters) {
      m_expectation.loggedRemoval(handler);
    }
  }
  m_waiters[waiter].reset();
}

void Conversation::killAll() {
  for (unsigned int waiter = 0; waiter < kWaiters; ++waiter) {
    kill(waiter);
  }
}

void Conversation::receive() {
  const WireMessage message = m_stream.take();
  const std::string expected = m_expectation.read(message, m_sessions.count(message.sessionId) != 0);
  InFlight inFlight;
  const std::string assertion = assertionOf([&] { m_receiver->IpcEventReceiver::receiveAndExecuteEvent(); });
  FUZZ_CHECK_EQ(assertion, expected);
  m_expectation.checkNobodyWaits();
  if (!assertion.empty()) {
    inFlight.release();
    end();
  }
}

void Conversation::handleRequest(IpcAddress& source, Kelp::IpcDataRequest& data, int dataSize, SessionId_t sessionId) {
  m_expectation.checkTold({kRequest, source.getFifoFilePath(), sessionId, textOf(data, dataSize)});
  doForRequest(sessionId);
}

void Conversation::handleOneWayRequest(IpcAddress& source, Kelp::IpcDataOneWayRequest& data, int dataSize) {
  m_expectation.checkTold({kOneWayRequest, source.getFifoFilePath(), 0, textOf(data, dataSize)});
  doForRequest(0);
}

void Conversation::handleResponse(unsigned int waiter, uint32_t sessionId, IpcAddress& source,
                                  const Kelp::IpcData& data, int dataSize) {
  m_expectation.checkTold({kResponse, source.getFifoFilePath(), sessionId, textOf(data, dataSize)});
  const Session session = m_sessions.at(sessionId);
  FUZZ_CHECK_EQ(session.handler, waiter);
  m_sessions.erase(sessionId);
  doDeed(session);
}

void Conversation::handleTimeout(unsigned int waiter, uint32_t sessionId) {
  FUZZ_CHECK_EQ(m_sessions.count(sessionId), 1U);
  const Session session = m_sessions.at(sessionId);
  FUZZ_CHECK_EQ(session.handler, waiter);
  FUZZ_CHECK(session.timeout != -1 && session.expiry <= Clock::now());
  m_sessions.erase(sessionId);
  m_expectation.logged("ResponseDispatcher session num=%d\n", static_cast<int>(m_sessions.size()));
  m_expectation.logged("session timeout: sessionId=%d, ", static_cast<int>(sessionId));
  doDeed(session);
}

// The handlers of requests have to outlive the receiver: in their place others die.
void Conversation::doForRequest(uint32_t sessionId) {
  if (m_requestsToDeed > 0 && --m_requestsToDeed == 0) {
    doDeed({sessionId, sessionId % kWaiters, 1, static_cast<Deed>(m_deedOfRequests % 7U), 0});
  }
}

void Conversation::doDeed(const Session& told) {
  Session next = told;
  switch (told.deed) {
    case Deed::Nothing:
      break;
    case Deed::AwaitAgain:
      await(told);
      break;
    case Deed::AwaitNext:
      ++next.id;
      await(next);
      break;
    case Deed::DieItself:
      kill(told.handler);
      break;
    case Deed::KillOther:
      kill((told.handler + 1) % kWaiters);
      break;
    case Deed::DisposeOfReceiver:
      disposeOfReceiver();
      break;
    case Deed::EndLoop:
      end();
      break;
  }
}

// No time-out may be pending.
void Conversation::disposeOfReceiver() {
  killAll();
  m_looper->removeEventReceiver(*m_receiver);
  m_looper->disposeSafely(*m_receiver.release());
  end();
}

void Conversation::end() {
  m_isOver = true;
  m_looper->exitEventLoop();
}

bool Conversation::hasTimeout() const {
  return std::any_of(m_sessions.begin(), m_sessions.end(), [](const auto& each) { return each.second.timeout != -1; });
}

void Conversation::finish() {
  m_expectation.checkLog();
  close(m_fd);
  if ((m_handlers & 0x40U) != 0 || hasTimeout()) {
    killAll();
  }
  if (m_receiver != nullptr) {
    m_looper->removeEventReceiver(*m_receiver);
    m_receiver.reset();
  }
  for (std::unique_ptr<Waiter>& waiter : m_waiters) {
    waiter.reset();  // silently: their sessions died with the receiver
  }
  m_expectation.checkLog();
  FUZZ_CHECK(!isThere(m_path));
}

}  // namespace KelpFuzz
