// A process with one loop, one FIFO and ten timers, for bench/footprint, which looks at its memory while it waits.
#include <stdio.h>
#include <unistd.h>

#include "EventLooperMultiWait.h"
#include "ExecObject.h"
#include "ExecObjectEventSender.h"
#include "IpcAddressApi.h"
#include "IpcEventReceiver.h"
#include "TimerService.h"
#include "support/PrivateNamespace.h"

namespace {

constexpr int kTimers = 10;
constexpr int64_t kInterval = 3'600'000'000'000;  // nanoseconds: an hour

class Observer : public Kelp::TimerService::CyclicTimerObserver {
 public:
  void notifyCyclicTimer(Kelp::TimerId_t /*timerId*/, int /*count*/) override {}
};

// Says that the loop runs, once it does.
class Announcement : public Kelp::ExecObject {
 public:
  void doExecute() override {
    puts("ready");
    fflush(stdout);
  }
};

}  // namespace

int main(int /*argc*/, char** argv) {
  KelpTest::enterPrivateNamespace(argv);
  Kelp::TimerService::createInstance();
  Kelp::EventLooperMultiWait looper;
  const Kelp::IpcAddressApi address(getpid());
  Kelp::IpcEventReceiver receiver(address);
  looper.addEventReceiver(receiver);
  Observer observer;
  for (int i = 0; i < kTimers; ++i) {
    Kelp::TimerService::getInstance().startCyclicTimer(kInterval, observer, &looper);
  }
  looper.getExecObjectEventSender().send(*new Announcement);
  looper.runEventLoop();  // until it is killed
}
