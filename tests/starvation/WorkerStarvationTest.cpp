// Workers from the service's creation to its end: two of them do two jobs for a loop.

#include <errno.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string>

#include "EventLooperMultiWait.h"
#include "EventReceiver.h"
#include "KelpObject.h"
#include "WorkerThreadService.h"
#include "starvation/LoopLines.h"
#include "starvation/Starvation.h"
#include "support/Pipe.h"

namespace {

using Kelp::EventLooperMultiWait;
using Kelp::WorkerThreadExecId_t;
using Kelp::WorkerThreadService;
using KelpTest::asserts;
using KelpTest::Call;
using KelpTest::goesOn;
using KelpTest::loggedErrors;
using KelpTest::notRemovedLine;
using KelpTest::refusalLine;
using KelpTest::UncountedCalls;

constexpr int kWorkers = 2;
constexpr int kJobs = 2;

class Object : public Kelp::KelpObject {};

constexpr size_t kManyObjects = 300;  // at once: more than the library keeps track of without allocating

class Job : public WorkerThreadService::RequestToWorkerThread {
 public:
  explicit Job(size_t objects) : m_objects(objects) {}

  void executeInWorkerThread() override {
    static std::optional<Object> s_objects[kManyObjects];
    std::for_each_n(s_objects, m_objects, [](auto& object) { object.emplace(); });
    std::for_each_n(s_objects, m_objects, [](auto& object) { object.reset(); });
  }

 private:
  const size_t m_objects;
};

// Has jobs done one after the other. That a message was lost shows in the log alone, so the host's logger wakes it: it
// then has the job done again.
class Host : public WorkerThreadService::WorkerObserver, public Kelp::EventReceiver {
 public:
  Host(EventLooperMultiWait& looper, KelpTest::Pipe& pipe, size_t objectsOfJob)
      : EventReceiver(pipe.readEnd(), false), m_looper(looper), m_pipe(pipe), m_job(objectsOfJob) {
    KelpTest::atEachLine([this] { wake(); });
    wake();
  }

  ~Host() override { KelpTest::atEachLine(nullptr); }

  void receiveAndExecuteEvent() override {
    sleep();
    const int lost = loggedErrors("ExecObjectEventSender.cpp");
    if (!m_hasBegun || lost > m_lost) {
      m_hasBegun = true;
      m_lost = lost;
      WorkerThreadService::getInstance().putRequest(m_job, *this);
    }
  }

  void notifyFromWorkerThread(WorkerThreadExecId_t /*execId*/,
                              WorkerThreadService::RequestToWorkerThread& /*request*/) override {
    m_done++;
    if (m_done == kJobs) {
      m_looper.exitEventLoop();
    } else {
      WorkerThreadService::getInstance().putRequest(m_job, *this);
    }
  }

 private:
  void wake() {
    const UncountedCalls own;
    EXPECT_EQ(write(m_pipe.writeEnd(), "a", 1), 1);
  }

  void sleep() {
    const UncountedCalls own;
    char byte = 0;
    EXPECT_EQ(read(m_pipe.readEnd(), &byte, 1), 1);
  }

  EventLooperMultiWait& m_looper;
  KelpTest::Pipe& m_pipe;
  Job m_job;
  bool m_hasBegun = false;
  int m_lost = 0;
  int m_done = 0;
};

struct UncountedPipe {
  UncountedPipe() {
    const UncountedCalls own;
    pipe = new KelpTest::Pipe;
  }
  ~UncountedPipe() {
    const UncountedCalls own;
    delete pipe;
  }
  KelpTest::Pipe* pipe;
};

std::string liveInLoop(size_t objectsOfJob) {
  UncountedPipe pipe;
  EventLooperMultiWait looper;
  if (loggedErrors("EventPoller.cpp") > 0) {
    return "no loop";
  }
  Host host(looper, *pipe.pipe, objectsOfJob);
  if (!looper.addEventReceiver(host)) {
    return "no receiver";
  }
  looper.runEventLoop();
  looper.removeEventReceiver(host);
  return "lived";
}

// A worker that cannot be told to end is waited for.
std::string liveWithWorkers(size_t objectsOfJob) {
  WorkerThreadService::createInstance(kWorkers);
  std::string told = liveInLoop(objectsOfJob);
  KelpTest::atEachLine([] {
    if (loggedErrors("ExecObjectEventSender.cpp") > 0) {
      ualarm(300000, 0);
    }
  });
  WorkerThreadService::destroyInstance();
  return told;
}

KelpTest::Scenario workerScenario(size_t objectsOfJob) {
  return {nullptr, [objectsOfJob] { return liveWithWorkers(objectsOfJob); }, nullptr, 0, true};
}

}  // namespace

TEST(WorkerStarvationTest, EveryCallThatFailsEndsAsStated) {
  KelpTest::Starvation starvation(workerScenario(0));
  starvation.expect(Call::AttrInit, {asserts("Thread.cpp", 46, "ret == 0")});
  starvation.expect(Call::AttrSetstacksize, {asserts("Thread.cpp", 50, "ret == 0")});
  starvation.expect(Call::ThreadCreate, {asserts("Thread.cpp", 53, "ret == 0")});
  starvation.expect(Call::Sigmask, {asserts("Thread.cpp", 67, "ret == 0")});
  starvation.expect(Call::ThreadJoin, {asserts("WorkerThread.cpp", 64, "ret == 0")});
  starvation.expect(Call::Sysconf, {goesOn("lived")});
  starvation.expect(Call::Pipe2, {asserts("ExecObjectEventReceiver.cpp", 36, "false")});
  starvation.expect(Call::EpollCreate1,
                    {goesOn("no loop", {KelpTest::noPollerLine(), refusalLine(EBADF), notRemovedLine()})});
  starvation.expect(Call::EpollCtl, {goesOn("no loop", {refusalLine(), notRemovedLine()}),
                                     goesOn("no receiver", {refusalLine()}), goesOn("lived", {notRemovedLine()})});
  starvation.expect(Call::EpollWait, {goesOn("lived", KelpTest::failedWaitLines())});
  starvation.expect(Call::Read, {goesOn("lived", {KelpTest::unreadObjectLine()})});
  starvation.expect(Call::Write, {goesOn("lived", {KelpTest::lostObjectLine()}).losing(1), KelpTest::waits()});
  starvation.expect(Call::Close, {goesOn("lived", {KelpTest::failedCloseLine()}),
                                  goesOn("lived", {KelpTest::failedPollerCloseLine()})});
  starvation.failEachCall();
}

TEST(WorkerStarvationTest, EveryNewThatFailsAbortsTheProcess) {
  KelpTest::Starvation(workerScenario(kManyObjects)).failEachNew();
}
