#include "apiclient/CoreCall.h"

#include <unistd.h>

#include "ExecObject.h"
#include "ExecObjectEventSender.h"
#include "IpcAddressCore.h"
#include "IpcData.h"
#include "common/StaleFifo.h"
#include "common/WebApi.h"

namespace KelpExample {

namespace {

constexpr int64_t kNanosecondsPerMs = 1000000;

// Starts the call from inside the loop: a request's time-out belongs to the loop that is running when it is sent.
class ExecObjectBegin : public Kelp::ExecObject {
 public:
  explicit ExecObjectBegin(CoreCall& call) : m_call(call) {}
  void doExecute() override { m_call.begin(); }

 private:
  CoreCall& m_call;
};

int answerTimeoutMs(const Record& request) {
  std::string methodName;
  request.getString(kMethodName, methodName);
  return methodName == "updateApplication" ? CoreCall::kUpdateTimeoutMs : CoreCall::kAnswerTimeoutMs;
}

}  // namespace

CoreCall::CoreCall(const Kelp::IpcAddressApi& address, const Record& request)
    : m_address(address),
      m_answerTimeoutMs(answerTimeoutMs(request)),
      m_payload(request, requestPayloadPath(address.getPid())),
      m_unexpectedMessages(m_address),
      m_ipcEventReceiver(m_address) {
  setHandlers();
  m_isReceiving = m_looper.addEventReceiver(m_ipcEventReceiver);
}

CoreCall::~CoreCall() {
  if (m_isReceiving) {
    m_looper.removeEventReceiver(m_ipcEventReceiver);
  }
}

Fault CoreCall::run(Record& answer) {
  if (!m_isReceiving) {
    return {500, Kelp::CommonReturnCode_FileAccessError, "the FIFO for the answer cannot be made"};
  }
  if (!m_payload.isValid()) {
    return {500, Kelp::CommonReturnCode_IoError, "the request cannot be handed to the core"};
  }
  m_looper.getExecObjectEventSender().send(*new ExecObjectBegin(*this));
  m_looper.runEventLoop();
  answer = m_answer;
  return m_fault;
}

void CoreCall::begin() {
  if (trySend()) {
    return;
  }
  m_retryTimer = Kelp::TimerService::getInstance().startCyclicTimer(kRetryIntervalMs * kNanosecondsPerMs, kMaxRetries,
                                                                    *this, &m_looper);
  handleFailedSend(false);
}

void CoreCall::notifyCyclicTimer(Kelp::TimerId_t /*timerId*/, int count) {
  const bool isLastTry = count == kMaxRetries;
  if (isLastTry) {
    m_retryTimer = Kelp::INVALID_TIMER_ID;  // it ends by itself
  }
  if (!trySend()) {
    handleFailedSend(isLastTry);
  }
}

void CoreCall::handleResponse(Kelp::SessionId_t /*sessionId*/, Kelp::IpcAddress& /*srcIpcAddress*/,
                              Kelp::IpcDataResponse& data, int dataSize) {
  int code;
  if (!readPayload(&data, dataSize, m_address.getPid(), m_answer) || !m_answer.getNumber(kReturnCode, code) ||
      !isReturnCode(code)) {
    m_answer = Record();
    finish({502, Kelp::CommonReturnCode_InternalError, "the core's answer is malformed"});
    return;
  }
  finish(faultOf(static_cast<Kelp::CommonReturnCode_t>(code)));
}

void CoreCall::handleTimeoutError(Kelp::SessionId_t /*sessionId*/) {
  finish({504, Kelp::CommonReturnCode_IoError, "the core did not answer in time"});
}

bool CoreCall::trySend() {
  Kelp::IpcEventSender sender(Kelp::IpcAddressCore(), m_ipcEventReceiver);
  Kelp::SessionId_t sessionId;
  if (sender.sendRequest(m_payload.data<Kelp::IpcDataRequest>(), m_payload.size(), *this, sessionId,
                         m_answerTimeoutMs) != Kelp::CommonReturnCode_Ok) {
    return false;
  }
  m_answerFile.setPath(responsePayloadPath(m_address.getPid(), sessionId));
  Kelp::TimerService::getInstance().cancelTimer(m_retryTimer);
  m_retryTimer = Kelp::INVALID_TIMER_ID;
  return true;
}

// The FIFO takes no more, or nobody reads it.
void CoreCall::handleFailedSend(bool isLastTry) {
  if (!isFifoRead(Kelp::IpcAddressCore().getFifoFilePath())) {
    finish({503, Kelp::CommonReturnCode_FileAccessError, "the core is not running"});
  } else if (isLastTry) {
    finish({503, Kelp::CommonReturnCode_FileAccessError, "the core is busy"});
  }
}

void CoreCall::finish(const Fault& fault) {
  m_fault = fault;
  Kelp::TimerService::getInstance().cancelTimer(m_retryTimer);
  m_retryTimer = Kelp::INVALID_TIMER_ID;
  m_looper.exitEventLoop();
}

// Nobody has reason to send requests to a client; whoever does so must not end it.
void CoreCall::setHandlers() {
  for (const auto type : {Kelp::IpcAddressType_App, Kelp::IpcAddressType_Api, Kelp::IpcAddressType_Core}) {
    m_ipcEventReceiver.setRequestHandler(type, m_unexpectedMessages);
    m_ipcEventReceiver.setOneWayRequestHandler(type, m_unexpectedMessages);
  }
}

CoreCall::FileRemover::~FileRemover() {
  if (!m_path.empty()) {
    unlink(m_path.c_str());
  }
}

void CoreCall::FileRemover::setPath(const std::string& path) {
  m_path = path;
}

}  // namespace KelpExample
