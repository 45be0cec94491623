// One request to the core and its answer, with a loop of its own that runs until the answer, or the reason why there is
// none, is known.
#ifndef KELP_EXAMPLES_APICLIENT_CORE_CALL_H
#define KELP_EXAMPLES_APICLIENT_CORE_CALL_H

#include <string>

#include "EventLooperMultiWait.h"
#include "IpcAddressApi.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "TimerService.h"
#include "apiclient/Fault.h"
#include "common/Payload.h"
#include "common/Record.h"
#include "common/UnexpectedMessages.h"

namespace KelpExample {

class CoreCall : public Kelp::IpcEventSender::ResponseHandler, public Kelp::TimerService::CyclicTimerObserver {
 public:
  // A busy core may leave its FIFO full for a moment: the request is tried again for a while. Once it has left, the
  // answer has its own time.
  static constexpr int kRetryIntervalMs = 10;
  static constexpr int kMaxRetries = 50;
  static constexpr int kAnswerTimeoutMs = 5000;
  static constexpr int kUpdateTimeoutMs = 30000;  // a package has to be decoded and to reach the disk

  // The FIFO path of `address` must be free, and the timer service must exist.
  CoreCall(const Kelp::IpcAddressApi& address, const Record& request);
  ~CoreCall() override;
  CoreCall(const CoreCall&) = delete;
  CoreCall& operator=(const CoreCall&) = delete;

  // Blocks for at most kMaxRetries * kRetryIntervalMs and the time for the answer. `answer` gets what the core says,
  // also when it says that the call failed.
  Fault run(Record& answer);

  // Called inside the loop.
  void begin();
  void notifyCyclicTimer(Kelp::TimerId_t timerId, int count) override;
  void handleResponse(Kelp::SessionId_t sessionId, Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataResponse& data,
                      int dataSize) override;
  void handleTimeoutError(Kelp::SessionId_t sessionId) override;

 private:
  // Removes its file, if it was given one, when it is destroyed.
  class FileRemover {
   public:
    FileRemover() = default;
    ~FileRemover();
    FileRemover(const FileRemover&) = delete;
    FileRemover& operator=(const FileRemover&) = delete;
    void setPath(const std::string& path);

   private:
    std::string m_path;
  };

  bool trySend();
  void handleFailedSend(bool isLastTry);
  void finish(const Fault& fault);
  void setHandlers();

  const Kelp::IpcAddressApi m_address;
  const int m_answerTimeoutMs;
  OutgoingPayload m_payload;  // never handed over: whether or not the core has read its file, it goes at the end
  FileRemover m_answerFile;   // of an answer that comes too late; destroyed behind the FIFO through which it came
  Kelp::EventLooperMultiWait m_looper;
  UnexpectedMessages m_unexpectedMessages;
  Kelp::IpcEventReceiver m_ipcEventReceiver;
  bool m_isReceiving;
  Kelp::TimerId_t m_retryTimer = Kelp::INVALID_TIMER_ID;
  Fault m_fault;
  Record m_answer;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_APICLIENT_CORE_CALL_H
