// The event loop beside a bare epoll loop: dispatching events, carrying exec objects between two loops, and starting
// and cancelling timers.
#include <stdio.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "EventLooperMultiWait.h"
#include "EventReceiver.h"
#include "ExecObject.h"
#include "ExecObjectEventSender.h"
#include "TimerService.h"
#include "support/Clock.h"
#include "support/Comparison.h"
#include "support/EpollLoop.h"
#include "support/PointerPipe.h"

using namespace KelpBench;

namespace {

// --- Dispatched events. The descriptors are semaphores that never run out: each read takes one and leaves them ready.

constexpr int kEvents = 200000;

class ReadyDescriptors {
 public:
  explicit ReadyDescriptors(int count) {
    for (int i = 0; i < count; ++i) {
      m_fds.push_back(eventfd(1U << 30, EFD_SEMAPHORE | EFD_CLOEXEC));
      require(m_fds.back() != -1, "eventfd");
    }
  }
  ~ReadyDescriptors() {
    for (const int fd : m_fds) {
      close(fd);
    }
  }
  ReadyDescriptors(const ReadyDescriptors&) = delete;
  ReadyDescriptors& operator=(const ReadyDescriptors&) = delete;

  const std::vector<int>& fds() const { return m_fds; }

 private:
  std::vector<int> m_fds;
};

class CountingReceiver : public Kelp::EventReceiver {
 public:
  CountingReceiver(int fd, int& remaining) : EventReceiver(fd, false), m_remaining(remaining) {}

  void receiveAndExecuteEvent() override {
    uint64_t value = 0;
    require(read(getFd(), &value, sizeof(value)) == sizeof(value), "read");
    if (--m_remaining == 0) {
      getEventLooperMultiWait()->exitEventLoop();
    }
  }

 private:
  int& m_remaining;
};

double kelpDispatch(const ReadyDescriptors& ready) {
  Kelp::EventLooperMultiWait looper;
  int remaining = kEvents;
  std::vector<std::unique_ptr<CountingReceiver>> receivers;
  for (const int fd : ready.fds()) {
    receivers.push_back(std::make_unique<CountingReceiver>(fd, remaining));
    require(looper.addEventReceiver(*receivers.back()), "addEventReceiver");
  }
  const int64_t start = processCpuNanoseconds();
  looper.runEventLoop();
  const int64_t end = processCpuNanoseconds();
  for (const auto& receiver : receivers) {
    looper.removeEventReceiver(*receiver);
  }
  return static_cast<double>(end - start) / kEvents;
}

double floorDispatch(const ReadyDescriptors& ready) {
  EpollLoop loop;
  for (const int fd : ready.fds()) {
    loop.add(fd);
  }
  int remaining = kEvents;
  const int64_t start = processCpuNanoseconds();
  loop.run([&](int fd) {
    uint64_t value = 0;
    require(read(fd, &value, sizeof(value)) == sizeof(value), "read");
    return --remaining > 0;
  });
  return static_cast<double>(processCpuNanoseconds() - start) / kEvents;
}

// --- Exec objects, to a loop on another thread and back.

constexpr int kJourneys = 20000;

struct Journeys {
  Kelp::EventLooperMultiWait* here;
  Kelp::EventLooperMultiWait* there;
  int64_t start;
  std::vector<double> latencies;
};

class Answer : public Kelp::ExecObject {
 public:
  explicit Answer(Journeys& journeys) : m_journeys(journeys) {}
  void doExecute() override;

 private:
  Journeys& m_journeys;
};

class Question : public Kelp::ExecObject {
 public:
  explicit Question(Journeys& journeys) : m_journeys(journeys) {}
  void doExecute() override { m_journeys.here->getExecObjectEventSender().send(*new Answer(m_journeys)); }

 private:
  Journeys& m_journeys;
};

void ask(Journeys& journeys) {
  journeys.start = monotonicNanoseconds();
  journeys.there->getExecObjectEventSender().send(*new Question(journeys));
}

void Answer::doExecute() {
  m_journeys.latencies.push_back(static_cast<double>(monotonicNanoseconds() - m_journeys.start));
  if (m_journeys.latencies.size() < kJourneys) {
    ask(m_journeys);
    return;
  }
  m_journeys.there->exitEventLoop();
  m_journeys.here->exitEventLoop();
}

double kelpExec() {
  Kelp::EventLooperMultiWait here;
  Kelp::EventLooperMultiWait there;
  Journeys journeys{&here, &there, 0, {}};
  journeys.latencies.reserve(kJourneys);
  std::thread other([&there] { there.runEventLoop(); });
  ask(journeys);
  here.runEventLoop();
  other.join();
  return median(journeys.latencies);
}

class Command {
 public:
  virtual ~Command() = default;
  virtual void execute() = 0;
};

using CommandPipe = PointerPipe<Command>;

class AnswerCommand : public Command {
 public:
  explicit AnswerCommand(int& answers) : m_answers(answers) {}
  void execute() override { ++m_answers; }

 private:
  int& m_answers;
};

class QuestionCommand : public Command {
 public:
  QuestionCommand(const CommandPipe& back, int& answers) : m_back(back), m_answers(answers) {}
  void execute() override { m_back.send(new AnswerCommand(m_answers)); }

 private:
  const CommandPipe& m_back;
  int& m_answers;
};

double floorExec() {
  const CommandPipe toThere;
  const CommandPipe toHere;
  std::thread other([&] {
    EpollLoop loop;
    loop.add(toThere.readEnd());
    int remaining = kJourneys;
    loop.run([&](int) {
      toThere.receive()->execute();
      return --remaining > 0;
    });
  });
  EpollLoop loop;
  loop.add(toHere.readEnd());
  int answers = 0;
  std::vector<double> latencies;
  latencies.reserve(kJourneys);
  int64_t start = monotonicNanoseconds();
  toThere.send(new QuestionCommand(toHere, answers));
  loop.run([&](int) {
    toHere.receive()->execute();
    latencies.push_back(static_cast<double>(monotonicNanoseconds() - start));
    if (latencies.size() == kJourneys) {
      return false;
    }
    start = monotonicNanoseconds();
    toThere.send(new QuestionCommand(toHere, answers));
    return true;
  });
  other.join();
  require(answers == kJourneys, "answers");
  return median(latencies);
}

// --- Timers, each started and cancelled within a pass of the loop that it belongs to.

constexpr int kPasses = 2000;
constexpr int kTimersInAPass = 16;
constexpr int64_t kInterval = 30000000000;  // 30 s: never due

class IdleObserver : public Kelp::TimerService::CyclicTimerObserver {
 public:
  void notifyCyclicTimer(Kelp::TimerId_t /*timerId*/, int /*count*/) override {}
};

class TimerUser : public Kelp::EventReceiver {
 public:
  explicit TimerUser(int fd) : EventReceiver(fd, false), m_remaining(kPasses) {}

  void receiveAndExecuteEvent() override {
    uint64_t value = 0;
    require(read(getFd(), &value, sizeof(value)) == sizeof(value), "read");
    Kelp::TimerService& service = Kelp::TimerService::getInstance();
    for (int i = 0; i < kTimersInAPass; ++i) {
      service.cancelTimer(service.startCyclicTimer(kInterval, 1, m_observer, nullptr));
    }
    if (--m_remaining == 0) {
      getEventLooperMultiWait()->exitEventLoop();
    }
  }

 private:
  int m_remaining;
  IdleObserver m_observer;
};

double kelpTimers(int fd) {
  Kelp::EventLooperMultiWait looper;
  TimerUser user(fd);
  require(looper.addEventReceiver(user), "addEventReceiver");
  const int64_t start = processCpuNanoseconds();
  looper.runEventLoop();
  const int64_t end = processCpuNanoseconds();
  looper.removeEventReceiver(user);
  return static_cast<double>(end - start) / (kPasses * kTimersInAPass);
}

void startAndCancelTimer(EpollLoop& loop) {
  const int fd = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  require(fd != -1, "timerfd_create");
  const timespec interval{kInterval / 1000000000, kInterval % 1000000000};
  const itimerspec expiry{interval, interval};
  require(timerfd_settime(fd, 0, &expiry, nullptr) == 0, "timerfd_settime");
  loop.add(fd);
  loop.remove(fd);
  close(fd);
}

double floorTimers(int fd) {
  EpollLoop loop;
  loop.add(fd);
  int remaining = kPasses;
  const int64_t start = processCpuNanoseconds();
  loop.run([&](int readyFd) {
    uint64_t value = 0;
    require(read(readyFd, &value, sizeof(value)) == sizeof(value), "read");
    for (int i = 0; i < kTimersInAPass; ++i) {
      startAndCancelTimer(loop);
    }
    return --remaining > 0;
  });
  return static_cast<double>(processCpuNanoseconds() - start) / (kPasses * kTimersInAPass);
}

bool allowDescriptors(rlim_t count) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur < count) {
    limit.rlim_cur = limit.rlim_max = std::max(limit.rlim_max, count);
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
  }
  return true;
}

}  // namespace

int main() {
  for (const int count : {1, 16, 1000, 10000}) {
    if (!allowDescriptors(static_cast<rlim_t>(count) + 100)) {
      fprintf(stderr, "EventLoopBench: %d descriptors are more than the limit allows: not measured\n", count);
      continue;
    }
    const ReadyDescriptors ready(count);
    compare(
        "Dispatched event, " + std::to_string(count) + " ready", Figure::Nanoseconds, atMost(1.1),
        [&] { return kelpDispatch(ready); }, [&] { return floorDispatch(ready); });
  }
  compare("Exec object to another loop and back", Figure::Nanoseconds, atMost(1.1), kelpExec, floorExec);

  Kelp::TimerService::createInstance();
  const ReadyDescriptors trigger(1);
  compare(
      "Timer started and cancelled", Figure::Nanoseconds, atMost(1.2), [&] { return kelpTimers(trigger.fds()[0]); },
      [&] { return floorTimers(trigger.fds()[0]); });
  Kelp::TimerService::destroyInstance();
}
