#include "examples/Caller.h"

#include <signal.h>
#include <unistd.h>

#include "ExecObject.h"
#include "ExecObjectEventSender.h"
#include "IpcAddressCore.h"
#include "IpcData.h"
#include "common/Payload.h"
#include "common/StaleFifo.h"
#include "common/WebApi.h"

namespace KelpTest {

namespace {

using KelpExample::Record;
using std::chrono::microseconds;
using std::chrono::steady_clock;

constexpr microseconds kPauseAfterRefusal{10000};

class ExecObjectBegin : public Kelp::ExecObject {
 public:
  explicit ExecObjectBegin(Caller& caller) : m_caller(caller) {}
  void doExecute() override { m_caller.callNext(); }

 private:
  Caller& m_caller;
};

}  // namespace

Caller::Caller(const Conduct& conduct, CallAccount& account)
    : m_conduct(conduct), m_account(account), m_address(getpid()), m_unexpectedMessages(m_address) {
  signal(SIGPIPE, SIG_IGN);
  KelpExample::clearFifoPath(m_address.getFifoFilePath());
  Kelp::TimerService::createInstance();
  m_receiver = std::make_unique<Kelp::IpcEventReceiver>(m_address);
  for (const auto type : {Kelp::IpcAddressType_App, Kelp::IpcAddressType_Api, Kelp::IpcAddressType_Core}) {
    m_receiver->setRequestHandler(type, m_unexpectedMessages);
    m_receiver->setOneWayRequestHandler(type, m_unexpectedMessages);
  }
}

Caller::~Caller() {
  m_receiver.reset();
  Kelp::TimerService::destroyInstance();
  removeLateFiles();
}

int Caller::run() {
  if (!m_looper.addEventReceiver(*m_receiver)) {
    return 1;
  }
  m_looper.getExecObjectEventSender().send(*new ExecObjectBegin(*this));
  m_looper.runEventLoop();
  m_looper.removeEventReceiver(*m_receiver);
  return 0;
}

void Caller::callNext() {
  if (m_conduct.isToEnd && m_conduct.isToEnd()) {
    m_looper.exitEventLoop();
    return;
  }
  m_request = m_conduct.nextRequest();
  m_request.putDecimal(KelpExample::kCallback, ++m_number);
  KelpExample::OutgoingPayload payload(m_request, requestFile());
  if (m_sender == nullptr) {
    m_sender = std::make_unique<Kelp::IpcEventSender>(Kelp::IpcAddressCore(), *m_receiver);
  }
  m_sentAt = steady_clock::now();
  const Kelp::CommonReturnCode_t result = m_sender->sendRequest(payload.data<Kelp::IpcDataRequest>(), payload.size(),
                                                                *this, m_session, m_conduct.timeoutMs);
  ++m_account.sent;
  const bool isSent = result == Kelp::CommonReturnCode_Ok;
  if (!isSent || !m_conduct.isSenderKept) {
    m_sender.reset();
  }
  if (!isSent) {
    ++(result == Kelp::CommonReturnCode_FileAccessError ? m_account.refused : m_account.wrong);
    callAfter(kPauseAfterRefusal);
    return;
  }
  payload.handOver();
}

void Caller::notifyCyclicTimer(Kelp::TimerId_t /*timerId*/, int /*count*/) {
  callNext();
}

void Caller::handleResponse(Kelp::SessionId_t sessionId, Kelp::IpcAddress& /*srcIpcAddress*/,
                            Kelp::IpcDataResponse& data, int dataSize) {
  const auto latency = steady_clock::now() - m_sentAt;
  const bool isRight = isAnswerRight(data, dataSize);
  if (isRight && m_conduct.noteLatency) {
    m_conduct.noteLatency(latency);
  }
  endCall(sessionId, isRight ? m_account.answered : m_account.wrong);
}

void Caller::handleTimeoutError(Kelp::SessionId_t sessionId) {
  noteLateFile(requestFile());
  noteLateFile(KelpExample::responsePayloadPath(m_address.getPid(), sessionId));
  endCall(sessionId, m_account.timedOut);
}

// A request has one end, and it is its own.
void Caller::endCall(Kelp::SessionId_t sessionId, std::atomic<uint64_t>& end) {
  const bool isDue = sessionId == m_session && m_session != Kelp::INVALID_SESSION_ID;
  m_session = Kelp::INVALID_SESSION_ID;
  ++(isDue ? end : m_account.wrong);
  if (!isDue) {
    return;
  }
  const microseconds pause = m_conduct.nextPause ? m_conduct.nextPause() : microseconds(0);
  if (pause.count() > 0) {
    callAfter(pause);
  } else {
    callNext();
  }
}

void Caller::callAfter(microseconds pause) {
  Kelp::TimerService::getInstance().startCyclicTimer(std::chrono::nanoseconds(pause).count(), 1, *this, nullptr);
}

bool Caller::isAnswerRight(Kelp::IpcDataResponse& data, int dataSize) const {
  Record answer;
  int code = -1;
  int number = -1;
  return KelpExample::readPayload(&data, dataSize, m_address.getPid(), answer) &&
         answer.getNumber(KelpExample::kReturnCode, code) && answer.getNumber(KelpExample::kCallback, number) &&
         number == m_number && code == Kelp::CommonReturnCode_Ok && m_conduct.isRight(m_request, answer);
}

// Each request has its own: the one before may have timed out, and its file may not have been read yet.
std::string Caller::requestFile() const {
  constexpr unsigned int kNoSessionOfOurs = 0x80000000;
  return KelpExample::responsePayloadPath(m_address.getPid(), kNoSessionOfOurs + static_cast<unsigned int>(m_number));
}

// The file of a request that may never be read, or of an answer that may still come. By the time that some others have
// timed out it is there or never will be.
void Caller::noteLateFile(const std::string& path) {
  constexpr size_t kMost = 16;
  m_lateFiles.push_back(path);
  if (m_lateFiles.size() > kMost) {
    unlink(m_lateFiles.front().c_str());
    m_lateFiles.pop_front();
  }
}

void Caller::removeLateFiles() {
  for (const std::string& path : m_lateFiles) {
    unlink(path.c_str());
  }
}

}  // namespace KelpTest
