#include "ipc/LoopFixture.h"

#include "ExecObject.h"
#include "ExecObjectEventSender.h"
#include "ipc/IpcTestSupport.h"

namespace KelpTest {

namespace {

class Task : public Kelp::ExecObject {
 public:
  explicit Task(const std::function<void()>& task) : m_task(task) {}
  void doExecute() override { m_task(); }

 private:
  std::function<void()> m_task;
};

class Alarm : public Kelp::TimerService::CyclicTimerObserver {
 public:
  explicit Alarm(const std::function<void()>& task) : m_task(task) {}
  void notifyCyclicTimer(Kelp::TimerId_t /*timerId*/, int /*count*/) override { m_task(); }

 private:
  std::function<void()> m_task;
};

// A copy, because calling it may delete the handler that holds it.
template <typename... Arguments, typename... Values>
void callCopy(std::function<void(Arguments...)> then, Values&&... values) {
  if (then) {
    then(values...);
  }
}

}  // namespace

LoopFixture::LoopFixture() {
  Kelp::TimerService::createInstance();
}

LoopFixture::~LoopFixture() {
  Kelp::TimerService::destroyInstance();
}

Kelp::EventLooperMultiWait& LoopFixture::looper() {
  return m_looper;
}

void LoopFixture::runLoop(const std::function<void()>& task) {
  m_looper.getExecObjectEventSender().send(*new Task(task));
  m_looper.runEventLoop();
}

void LoopFixture::endLoop() {
  Kelp::EventLooper::getRunningLooper()->exitEventLoop();
}

void LoopFixture::callAfter(int milliseconds, const std::function<void()>& task) {
  m_alarms.emplace_back(new Alarm(task));
  Kelp::TimerService::getInstance().startCyclicTimer(int64_t{milliseconds} * 1000000, 1, *m_alarms.back(), nullptr);
}

void RequestRecorder::handleRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataRequest& data, int dataSize,
                                    Kelp::SessionId_t sessionId) {
  told.push_back({srcIpcAddress.getFifoFilePath(), textOf(data, dataSize), sessionId});
  callCopy(then, srcIpcAddress, sessionId);
}

void OneWayRecorder::handleOneWayRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataOneWayRequest& data,
                                         int dataSize) {
  told.push_back({srcIpcAddress.getFifoFilePath(), textOf(data, dataSize), Kelp::INVALID_SESSION_ID});
  callCopy(then);
}

void ResponseRecorder::handleResponse(Kelp::SessionId_t sessionId, Kelp::IpcAddress& srcIpcAddress,
                                      Kelp::IpcDataResponse& data, int dataSize) {
  told.push_back({srcIpcAddress.getFifoFilePath(), textOf(data, dataSize), sessionId});
  callCopy(then, sessionId);
}

void ResponseRecorder::handleTimeoutError(Kelp::SessionId_t sessionId) {
  timedOut.push_back(sessionId);
  callCopy(then, sessionId);
}

}  // namespace KelpTest
