// An API client that lives long: it calls the example core again and again, and keeps account of what becomes of each
// request. A CGI client lives for one call, and its start costs more than the call.
#ifndef KELP_TESTS_EXAMPLES_CALLER_H
#define KELP_TESTS_EXAMPLES_CALLER_H

#include <stdint.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "EventLooperMultiWait.h"
#include "IpcAddressApi.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "TimerService.h"
#include "common/Record.h"
#include "common/UnexpectedMessages.h"

namespace KelpTest {

// What has become of a client's requests. Other processes may read it.
struct CallAccount {
  std::atomic<uint64_t> sent{0};      // requests that have left or have been refused
  std::atomic<uint64_t> answered{0};  // by the right answer
  std::atomic<uint64_t> timedOut{0};
  std::atomic<uint64_t> refused{0};  // result 14
  std::atomic<uint64_t> wrong{0};    // answers and results that were not right, and what came after a request's end
};

// How many requests have come to a right end. All that were sent: the client waits for nothing, and nothing was wrong.
inline uint64_t endsOf(const CallAccount& account) {
  return account.answered + account.timedOut + account.refused;
}

// Threads: one; the process has no other Caller and no timer service.
class Caller : public Kelp::IpcEventSender::ResponseHandler, public Kelp::TimerService::CyclicTimerObserver {
 public:
  struct Conduct {
    int timeoutMs = 5000;
    bool isSenderKept = false;                         // as long as it can send, or a new one for each request
    std::function<KelpExample::Record()> nextRequest;  // "callback" is put in it
    std::function<bool(const KelpExample::Record& request, const KelpExample::Record& answer)> isRight;
    std::function<std::chrono::microseconds()> nextPause;       // before the next request; empty: none
    std::function<void(std::chrono::nanoseconds)> noteLatency;  // of each answer; may be empty
    std::function<bool()> isToEnd;                              // asked between two requests; may be empty
  };

  Caller(const Conduct& conduct, CallAccount& account);
  ~Caller() override;
  Caller(const Caller&) = delete;
  Caller& operator=(const Caller&) = delete;

  // Returns 0 when it was to end, and no request is without its end; 1 when the FIFO could not be made.
  int run();

  // Called inside the loop.
  void callNext();
  void notifyCyclicTimer(Kelp::TimerId_t timerId, int count) override;
  void handleResponse(Kelp::SessionId_t sessionId, Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataResponse& data,
                      int dataSize) override;
  void handleTimeoutError(Kelp::SessionId_t sessionId) override;

 private:
  void endCall(Kelp::SessionId_t sessionId, std::atomic<uint64_t>& end);
  void callAfter(std::chrono::microseconds pause);
  bool isAnswerRight(Kelp::IpcDataResponse& data, int dataSize) const;
  std::string requestFile() const;
  void noteLateFile(const std::string& path);
  void removeLateFiles();

  const Conduct m_conduct;
  CallAccount& m_account;
  const Kelp::IpcAddressApi m_address;
  Kelp::EventLooperMultiWait m_looper;
  KelpExample::UnexpectedMessages m_unexpectedMessages;
  std::unique_ptr<Kelp::IpcEventReceiver> m_receiver;
  std::unique_ptr<Kelp::IpcEventSender> m_sender;
  KelpExample::Record m_request;
  int32_t m_number = 0;
  Kelp::SessionId_t m_session = Kelp::INVALID_SESSION_ID;  // of the request that has not ended
  std::chrono::steady_clock::time_point m_sentAt;
  std::deque<std::string> m_lateFiles;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_EXAMPLES_CALLER_H
