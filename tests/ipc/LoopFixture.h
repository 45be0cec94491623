// A multi-wait loop and the timer service, for tests of what happens inside a loop.
#ifndef KELP_TESTS_IPC_LOOP_FIXTURE_H
#define KELP_TESTS_IPC_LOOP_FIXTURE_H

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "EventLooperMultiWait.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "TimerService.h"

namespace KelpTest {

class LoopFixture : public testing::Test {
 protected:
  LoopFixture();
  ~LoopFixture() override;

  Kelp::EventLooperMultiWait& looper();

  // Runs `task` inside the loop, and the loop until it is told to end. Once to a test.
  void runLoop(const std::function<void()>& task);

  // To be called inside the loop.
  static void endLoop();
  void callAfter(int milliseconds, const std::function<void()>& task);

 private:
  Kelp::EventLooperMultiWait m_looper;
  std::vector<std::unique_ptr<Kelp::TimerService::CyclicTimerObserver>> m_alarms;
};

// What a handler was told.
struct Told {
  std::string fifoPath;  // of the source
  std::string text;
  Kelp::SessionId_t sessionId;
};

// Remember what they were told, and do more where a test wants it. To be told, then does it: `then` may delete the
// handler.
class RequestRecorder : public Kelp::IpcEventReceiver::RequestHandler {
 public:
  std::vector<Told> told;
  std::function<void(Kelp::IpcAddress&, Kelp::SessionId_t)> then;

  void handleRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataRequest& data, int dataSize,
                     Kelp::SessionId_t sessionId) override;
};

class OneWayRecorder : public Kelp::IpcEventReceiver::OneWayRequestHandler {
 public:
  std::vector<Told> told;
  std::function<void()> then;

  void handleOneWayRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataOneWayRequest& data, int dataSize) override;
};

class ResponseRecorder : public Kelp::IpcEventSender::ResponseHandler {
 public:
  std::vector<Told> told;
  std::vector<Kelp::SessionId_t> timedOut;
  std::function<void(Kelp::SessionId_t)> then;  // after a response or a time-out

  void handleResponse(Kelp::SessionId_t sessionId, Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataResponse& data,
                      int dataSize) override;
  void handleTimeoutError(Kelp::SessionId_t sessionId) override;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_IPC_LOOP_FIXTURE_H
