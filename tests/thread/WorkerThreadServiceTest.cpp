#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <future>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "KelpDebug.h"
#include "SysFunc.h"
#include "WorkerThreadService.h"
#include "support/CallFaults.h"
#include "support/Descriptors.h"
#include "support/Emulator.h"
#include "support/LogCapture.h"
#include "support/ObjectType.h"
#include "thread/WorkerActors.h"
#include "thread/WorkerStackSize.h"

namespace {

using Kelp::EventLooper;
using Kelp::EventLooperMultiWait;
using Kelp::WorkerThreadExecId_t;
using Kelp::WorkerThreadService;
using KelpTest::Action;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::FunctionObserver;
using KelpTest::FunctionRequest;
using KelpTest::LogCapture;
using KelpTest::post;

constexpr size_t kChannelBytes = 64 * 1024;
constexpr int kChannelRequests = static_cast<int>(kChannelBytes / sizeof(void*));

class Service {
 public:
  explicit Service(int numThreads) { WorkerThreadService::createInstance(numThreads); }
  ~Service() { WorkerThreadService::destroyInstance(); }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;
};

WorkerThreadExecId_t put(FunctionRequest& request, FunctionObserver& observer) {
  return WorkerThreadService::getInstance().putRequest(request, observer);
}

// Runs the loop on this thread, with `action` done first, until something tells it to exit.
void run(EventLooperMultiWait& looper, Action action) {
  post(looper, std::move(action));
  looper.runEventLoop();
}

// Has one worker execute the action, from a loop on this thread.
void runAsJob(Action action) {
  const Service service(1);
  EventLooperMultiWait looper;
  FunctionRequest request(std::move(action));
  FunctionObserver observer([&](WorkerThreadExecId_t, FunctionObserver::Request&) { looper.exitEventLoop(); });
  run(looper, [&] { put(request, observer); });
}

TEST(WorkerThreadServiceTest, HasItsTypeNumber) {
  const Service service(0);
  EXPECT_EQ(KelpTest::objectTypeOf(WorkerThreadService::getInstance()), 41);
}

TEST(WorkerThreadServiceTest, ExecutesOnAWorkerAndNotifiesOnTheThreadThatAsked) {
  const Service service(1);
  EventLooperMultiWait looper;
  pthread_t worker = pthread_self();
  int notifications = 0;
  WorkerThreadExecId_t id = -1;
  FunctionRequest request([&] { worker = pthread_self(); });
  FunctionObserver observer([&](WorkerThreadExecId_t notifiedId, FunctionObserver::Request& notified) {
    notifications++;
    EXPECT_EQ(notifiedId, id);
    EXPECT_EQ(&notified, &request);
    EXPECT_EQ(EventLooper::getRunningLooper(), &looper);
    looper.exitEventLoop();
  });
  run(looper, [&] { id = put(request, observer); });
  EXPECT_EQ(notifications, 1);
  EXPECT_FALSE(pthread_equal(worker, pthread_self()));
}

TEST(WorkerThreadServiceTest, FirstIdIsZeroAndEachFollowingOneIsGreaterByOne) {
  for (int i = 0; i < 2; i++) {
    const Service service(0);
    EXPECT_EQ(WorkerThreadService::getInstance().createNextId(), 0);
    EXPECT_EQ(WorkerThreadService::getInstance().createNextId(), 1);
    EXPECT_EQ(WorkerThreadService::getInstance().createNextId(), 2);
  }
}

TEST(WorkerThreadServiceTest, RequestsHaveConsecutiveIdsFromZero) {
  const Service service(1);
  EventLooperMultiWait looper;
  FunctionRequest request;
  std::vector<WorkerThreadExecId_t> ids;
  FunctionObserver observer([&](WorkerThreadExecId_t id, FunctionObserver::Request&) {
    ids.push_back(id);
    if (ids.size() == 3) {
      looper.exitEventLoop();
    }
  });
  run(looper, [&] {
    EXPECT_EQ(put(request, observer), 0);
    EXPECT_EQ(put(request, observer), 1);
    EXPECT_EQ(put(request, observer), 2);
  });
  EXPECT_EQ(ids, (std::vector<WorkerThreadExecId_t>{0, 1, 2}));
}

TEST(WorkerThreadServiceTest, OneWorkerExecutesAndNotifiesInTheOrderOfTheRequests) {
  const Service service(1);
  EventLooperMultiWait looper;
  std::vector<std::string> events;
  FunctionRequest first([&] { events.push_back("first executed"); });
  FunctionRequest second([&] { events.push_back("second executed"); });
  std::vector<WorkerThreadExecId_t> ids;
  FunctionObserver observer([&](WorkerThreadExecId_t id, FunctionObserver::Request& request) {
    ids.push_back(id);
    EXPECT_EQ(&request, ids.size() == 1 ? &first : &second);
    if (ids.size() == 2) {
      looper.exitEventLoop();
    }
  });
  run(looper, [&] {
    put(first, observer);
    put(second, observer);
  });
  EXPECT_EQ(events, (std::vector<std::string>{"first executed", "second executed"}));
  EXPECT_EQ(ids, (std::vector<WorkerThreadExecId_t>{0, 1}));
}

TEST(WorkerThreadServiceTest, SeveralWorkersExecuteAtTheSameTime) {
  constexpr int kWorkers = 3;
  const Service service(kWorkers);
  EventLooperMultiWait looper;
  std::atomic<int> arrived{0};
  std::promise<void> allArrived;
  const std::shared_future<void> all = allArrived.get_future().share();
  FunctionRequest request([&] {
    if (++arrived == kWorkers) {
      allArrived.set_value();
    }
    all.wait();
  });
  int notifications = 0;
  FunctionObserver observer([&](WorkerThreadExecId_t, FunctionObserver::Request&) {
    if (++notifications == kWorkers) {
      looper.exitEventLoop();
    }
  });
  run(looper, [&] {
    for (int i = 0; i < kWorkers; i++) {
      put(request, observer);
    }
  });
  EXPECT_EQ(notifications, kWorkers);
}

TEST(WorkerThreadServiceTest, ShortJobIsNotifiedWhileAnotherWorkerIsBusy) {
  const Service service(2);
  EventLooperMultiWait looper;
  std::promise<void> shortJobIsNotified;
  FunctionRequest longJob([&] { shortJobIsNotified.get_future().wait(); });
  FunctionRequest shortJob;
  std::vector<FunctionObserver::Request*> notified;
  FunctionObserver observer([&](WorkerThreadExecId_t, FunctionObserver::Request& request) {
    notified.push_back(&request);
    if (&request == &shortJob) {
      shortJobIsNotified.set_value();
    } else {
      looper.exitEventLoop();
    }
  });
  run(looper, [&] {
    put(longJob, observer);
    put(shortJob, observer);
  });
  EXPECT_EQ(notified, (std::vector<FunctionObserver::Request*>{&shortJob, &longJob}));
}

TEST(WorkerThreadServiceTest, ObserverMayDeleteTheRequestAndPutAnother) {
  const Service service(1);
  EventLooperMultiWait looper;
  int remaining = 10;
  FunctionObserver observer;
  observer = FunctionObserver([&](WorkerThreadExecId_t, FunctionObserver::Request& request) {
    delete &request;
    if (--remaining == 0) {
      looper.exitEventLoop();
    } else {
      put(*new FunctionRequest, observer);
    }
  });
  run(looper, [&] { put(*new FunctionRequest, observer); });
  EXPECT_EQ(remaining, 0);
}

// --- what a job finds

TEST(WorkerThreadServiceTest, JobsAreOutOfReachOfSignals) {
  sigset_t mask;
  sigemptyset(&mask);
  runAsJob([&] { pthread_sigmask(SIG_BLOCK, nullptr, &mask); });
  for (const int number :
       {SIGHUP, SIGINT, SIGTERM, SIGPIPE, SIGALRM, SIGCHLD, SIGUSR1, SIGRTMIN, KelpTest::lastSignal()}) {
    EXPECT_EQ(sigismember(&mask, number), 1) << number;
  }
}

TEST(WorkerThreadServiceTest, JobsFindNoMultiWaitLooper) {
  const void* looper = &looper;
  runAsJob([&] { looper = EventLooper::getRunningLooperMultiWait(); });
  EXPECT_EQ(looper, nullptr);
}

TEST(WorkerThreadServiceTest, JobsRunOnTheStackThatIsStated) {
  size_t size = 0;
  runAsJob([&] { size = KelpTest::ownStackSize(); });
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  EXPECT_GT(size, size_t{Kelp::kWorkerStackSize});
#else
  EXPECT_EQ(size, static_cast<size_t>(Kelp::workerStackSize()));
  if (sysconf(_SC_THREAD_STACK_MIN) <= Kelp::kWorkerStackSize) {
    EXPECT_EQ(size, 16384U);
  }
#endif
}

// The same without a logger in the process is a program of its own.
TEST(WorkerThreadServiceTest, ErrorLineIsLoggedWholeWith4KiBOfTheJobsFramesInUse) {
  const std::string from = "/missing/" + std::string(440, 'a');
  const std::string to = "/missing/" + std::string(440, 'b');
  bool isFrameIntact = true;
  const LogCapture log;
  runAsJob([&] {
    volatile char frame[4096];
    for (volatile char& byte : frame) {
      byte = 'f';
    }
    Kelp::SysFunc::kelpRename(from, to);
    for (volatile char& byte : frame) {
      isFrameIntact = isFrameIntact && byte == 'f';
    }
  });
  EXPECT_TRUE(isFrameIntact);
  EXPECT_EQ(log.errors(),
            std::vector<KelpTest::LogLine>{KelpTest::errorLine(
                "SysFunc.cpp", 0, "kelpRename", "ERROR: Can't rename " + from + " to " + to + " errno: 2\n")});
}

TEST(WorkerThreadServiceTest, CommandsRunWith4KiBOfTheJobsFramesInUse) {
  const int commands = callCount(Call::System);
  bool isFrameIntact = true;
  const LogCapture log;
  runAsJob([&] {
    volatile char frame[4096];
    for (volatile char& byte : frame) {
      byte = 'f';
    }
    KelpDebugGenerateLogFile("x", 0);
    KelpDebugRemoveLogFile("x");
    for (volatile char& byte : frame) {
      isFrameIntact = isFrameIntact && byte == 'f';
    }
  });
  EXPECT_TRUE(isFrameIntact);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(callCount(Call::System), commands + 5);
}

// --- many requests

// Puts requests from one loop, keeping a number of them under way, and checks what it is notified of.
class Load {
 public:
  Load(EventLooperMultiWait& looper, int count, int maxInFlight)
      : m_looper(looper),
        m_unput(count),
        m_unnotified(count),
        m_executions(new std::atomic<int>[static_cast<size_t>(count)]()),
        m_observer([this](WorkerThreadExecId_t id, FunctionObserver::Request& request) { notify(id, request); }) {
    for (int i = 0; i < count; i++) {
      m_requests.push_back(std::make_unique<FunctionRequest>([this, i] { m_executions[static_cast<size_t>(i)]++; }));
    }
    m_notifications.resize(static_cast<size_t>(count), 0);
    post(looper, [this, maxInFlight] {
      for (int i = 0; i < maxInFlight; i++) {
        putNext();
      }
    });
  }

  // To be called when the loop has ended.
  void expectAllNotifiedOnce() const {
    EXPECT_EQ(m_unnotified, 0);
    EXPECT_FALSE(m_isForeign);
    for (size_t i = 0; i < m_requests.size(); i++) {
      ASSERT_EQ(m_executions[i], 1) << i;
      ASSERT_EQ(m_notifications[i], 1) << i;
    }
  }

  const std::vector<WorkerThreadExecId_t>& ids() const { return m_ids; }

 private:
  void putNext() {
    if (m_unput > 0) {
      const size_t index = m_requests.size() - static_cast<size_t>(m_unput--);
      m_indexes[put(*m_requests[index], m_observer)] = index;
    }
  }

  void notify(WorkerThreadExecId_t id, FunctionObserver::Request& request) {
    const auto found = m_indexes.find(id);
    if (EventLooper::getRunningLooper() != &m_looper || found == m_indexes.end() ||
        m_requests[found->second].get() != &request) {
      m_isForeign = true;
      return;
    }
    m_notifications[found->second]++;
    m_ids.push_back(id);
    if (--m_unnotified == 0) {
      m_looper.exitEventLoop();
    }
    putNext();
  }

  EventLooperMultiWait& m_looper;
  int m_unput;
  int m_unnotified;
  std::unique_ptr<std::atomic<int>[]> m_executions;
  std::vector<std::unique_ptr<FunctionRequest>> m_requests;
  std::vector<int> m_notifications;
  std::map<WorkerThreadExecId_t, size_t> m_indexes;
  std::vector<WorkerThreadExecId_t> m_ids;
  bool m_isForeign = false;
  FunctionObserver m_observer;
};

TEST(WorkerThreadServiceTest, HundredThousandRequestsOfTwoLoopsAreEachNotifiedOnceOnTheLoopThatAsked) {
  constexpr int kRequests = 50000;
  constexpr int kInFlight = 4000;
  const Service service(2);
  EventLooperMultiWait loopers[2];
  Load first(loopers[0], kRequests, kInFlight);
  Load second(loopers[1], kRequests, kInFlight);
  std::thread thread([&] { loopers[1].runEventLoop(); });
  loopers[0].runEventLoop();
  thread.join();
  first.expectAllNotifiedOnce();
  second.expectAllNotifiedOnce();
  std::set<WorkerThreadExecId_t> ids(first.ids().begin(), first.ids().end());
  ids.insert(second.ids().begin(), second.ids().end());
  EXPECT_EQ(ids.size(), size_t{2} * kRequests);
  EXPECT_EQ(*ids.begin(), 0);
  EXPECT_EQ(*ids.rbegin(), 2 * kRequests - 1);
}

// Occupies both workers of a service until it is opened.
class Gate {
 public:
  // The looper has to run.
  explicit Gate(EventLooperMultiWait& looper) {
    post(looper, [this] {
      put(m_keeper, m_ignored);
      put(m_keeper, m_ignored);
    });
    m_isReached.get_future().wait();
  }

  void open() { m_opening.set_value(); }

 private:
  void keep() {
    if (++m_arrived == 2) {
      m_isReached.set_value();
    }
    m_isOpen.wait();
  }

  std::atomic<int> m_arrived{0};
  std::promise<void> m_isReached;
  std::promise<void> m_opening;
  const std::shared_future<void> m_isOpen{m_opening.get_future()};
  FunctionRequest m_keeper{[this] { keep(); }};
  FunctionObserver m_ignored;
};

TEST(WorkerThreadServiceTest, DestructionCompletesTheQueuedRequestsOfRunningLoops) {
  constexpr int kRequests = 2500;
  EventLooperMultiWait loopers[2];
  std::thread threads[2] = {std::thread([&] { loopers[0].runEventLoop(); }),
                            std::thread([&] { loopers[1].runEventLoop(); })};
  auto service = std::make_unique<Service>(2);
  Gate gate(loopers[0]);
  Load first(loopers[0], kRequests, kRequests);
  Load second(loopers[1], kRequests, kRequests);
  std::promise<void> queued[2];
  for (size_t i = 0; i < 2; i++) {
    post(loopers[i], [&queued, i] { queued[i].set_value(); });
  }
  queued[0].get_future().wait();
  queued[1].get_future().wait();

  const int writes = callCount(Call::Write);
  std::thread opener([&] {
    while (callCount(Call::Write) < writes + 2) {  // the two exit messages, behind all that is queued
      std::this_thread::yield();
    }
    gate.open();
  });
  service.reset();
  opener.join();
  threads[0].join();
  threads[1].join();
  first.expectAllNotifiedOnce();
  second.expectAllNotifiedOnce();
}

TEST(WorkerThreadServiceTest, AnswersReachALoopThatGoesOnAfterTheServicesEnd) {
  EventLooperMultiWait looper;
  auto service = std::make_unique<Service>(1);
  std::vector<WorkerThreadExecId_t> ids;
  FunctionRequest request;
  FunctionObserver observer([&](WorkerThreadExecId_t id, FunctionObserver::Request&) {
    ids.push_back(id);
    if (ids.size() == 3) {
      looper.exitEventLoop();
    }
  });
  run(looper, [&] {
    for (int i = 0; i < 3; i++) {
      put(request, observer);
    }
    service.reset();
    EXPECT_TRUE(ids.empty());
  });
  EXPECT_EQ(ids, (std::vector<WorkerThreadExecId_t>{0, 1, 2}));
}

// The state letter of a thread of this process, 'S' where it waits in the kernel.
char stateOfThread(pid_t threadId) {
  std::ifstream stat("/proc/self/task/" + std::to_string(threadId) + "/stat");
  std::string text;
  std::getline(stat, text);
  const size_t end = text.rfind(')');
  return end == std::string::npos || end + 2 >= text.size() ? '?' : text[end + 2];
}

TEST(WorkerThreadServiceTest, PuttingWaitsWhileTheChannelIsFull) {
  const Service service(1);
  std::promise<void> started;
  std::promise<void> gate;
  FunctionRequest gateKeeper([&] {
    started.set_value();
    gate.get_future().wait();
  });
  FunctionRequest request;
  constexpr int kRequests = kChannelRequests + 2;  // the first is being executed, the last has no room
  std::atomic<int> putCount{0};
  std::atomic<pid_t> threadId{0};
  int notifications = 0;
  EventLooperMultiWait looper;
  FunctionObserver observer([&](WorkerThreadExecId_t, FunctionObserver::Request&) {
    if (++notifications == kRequests) {
      looper.exitEventLoop();
    }
  });
  post(looper, [&] {
    threadId = static_cast<pid_t>(syscall(SYS_gettid));
    put(gateKeeper, observer);
    started.get_future().wait();
    for (putCount = 1; putCount < kRequests; putCount++) {
      put(request, observer);
    }
  });
  std::thread thread([&] { looper.runEventLoop(); });
  while (putCount <= kChannelRequests || stateOfThread(threadId) != 'S') {
    std::this_thread::yield();
  }
  EXPECT_EQ(putCount, kChannelRequests + 1);
  gate.set_value();
  thread.join();
  EXPECT_EQ(putCount, kRequests);
  EXPECT_EQ(notifications, kRequests);
}

TEST(WorkerThreadServiceTest, WorkerWaitsWhileTheLoopsChannelIsFull) {
  const Service service(1);
  EventLooperMultiWait looper;
  constexpr int kRequests = kChannelRequests + 2;  // the last but one's answer has no room, the last is not begun
  std::atomic<int> executions{0};
  std::atomic<pid_t> threadId{0};
  FunctionRequest request([&] {
    threadId = static_cast<pid_t>(syscall(SYS_gettid));
    executions++;
  });
  int notifications = 0;
  FunctionObserver observer([&](WorkerThreadExecId_t, FunctionObserver::Request&) {
    if (++notifications == kRequests) {
      looper.exitEventLoop();
    }
  });
  run(looper, [&] {
    for (int i = 0; i < kRequests; i++) {
      put(request, observer);
    }
    while (executions <= kChannelRequests || stateOfThread(threadId) != 'S') {
      std::this_thread::yield();
    }
    EXPECT_EQ(executions, kChannelRequests + 1);
    EXPECT_EQ(notifications, 0);
  });
  EXPECT_EQ(executions, kRequests);
  EXPECT_EQ(notifications, kRequests);
}

// --- creating and destroying

TEST(WorkerThreadServiceTest, StartsAsManyWorkersAsAskedForAndJoinsThem) {
  const int starts = callCount(Call::ThreadCreate);
  const int joins = callCount(Call::ThreadJoin);
  {
    const Service service(3);
    EXPECT_EQ(callCount(Call::ThreadCreate), starts + 3);
    EXPECT_EQ(callCount(Call::ThreadJoin), joins);
  }
  EXPECT_EQ(callCount(Call::ThreadCreate), starts + 3);
  EXPECT_EQ(callCount(Call::ThreadJoin), joins + 3);
}

TEST(WorkerThreadServiceTest, CountsBelowOneStartNoWorker) {
  const int starts = callCount(Call::ThreadCreate);
  const int joins = callCount(Call::ThreadJoin);
  for (const int count : {0, -1}) {
    const Service service(count);
  }
  EXPECT_EQ(callCount(Call::ThreadCreate), starts);
  EXPECT_EQ(callCount(Call::ThreadJoin), joins);
}

TEST(WorkerThreadServiceTest, ServiceLeavesNoDescriptorBehind) {
  const int fd = KelpTest::nextFreeFd();
  {
    const Service service(2);
    EXPECT_NE(KelpTest::nextFreeFd(), fd);
  }
  EXPECT_EQ(KelpTest::nextFreeFd(), fd);
}

TEST(WorkerThreadServiceTest, CanBeCreatedAgain) {
  int executions = 0;
  runAsJob([&] { executions++; });
  runAsJob([&] { executions++; });
  EXPECT_EQ(executions, 2);
}

TEST(WorkerThreadServiceDeathTest, SecondServiceEndsTheProcess) {
  const Service service(0);
  EXPECT_DEATH(WorkerThreadService::createInstance(0),
               "WorkerThreadService\\.cpp:74: static void Kelp::WorkerThreadService::createInstance\\(int\\): "
               "Assertion `s_pThis == __null' failed");
}

TEST(WorkerThreadServiceDeathTest, DestroyingAServiceThatDoesNotExistEndsTheProcess) {
  EXPECT_DEATH(WorkerThreadService::destroyInstance(),
               "WorkerThreadService\\.cpp:83: static void Kelp::WorkerThreadService::destroyInstance\\(\\): "
               "Assertion `s_pThis != __null' failed");
}

TEST(WorkerThreadServiceDeathTest, GettingAServiceThatDoesNotExistEndsTheProcess) {
  EXPECT_DEATH(WorkerThreadService::getInstance(),
               "WorkerThreadService\\.cpp:93: static Kelp::WorkerThreadService& "
               "Kelp::WorkerThreadService::getInstance\\(\\): Assertion `s_pThis != __null' failed");
}

TEST(WorkerThreadServiceDeathTest, GettingADestroyedServiceEndsTheProcess) {
  { const Service service(1); }
  EXPECT_DEATH(WorkerThreadService::getInstance(), "WorkerThreadService\\.cpp:93: .*`s_pThis != __null' failed");
}

constexpr char kPutWithoutLooper[] =
    "WorkerThreadService\\.cpp:109: Kelp::WorkerThreadExecId_t Kelp::WorkerThreadService::putRequest\\("
    "Kelp::WorkerThreadService::RequestToWorkerThread&, Kelp::WorkerThreadService::WorkerObserver&\\): "
    "Assertion `pLooper != __null' failed";

TEST(WorkerThreadServiceDeathTest, PuttingWhereNoLoopRunsEndsTheProcess) {
  const Service service(0);
  FunctionRequest request;
  FunctionObserver observer;
  EXPECT_DEATH(put(request, observer), kPutWithoutLooper);
}

TEST(WorkerThreadServiceDeathTest, PuttingFromAJobEndsTheProcess) {
  FunctionRequest request;
  FunctionObserver observer;
  EXPECT_DEATH(runAsJob([&] { put(request, observer); }), kPutWithoutLooper);
}

TEST(WorkerThreadServiceDeathTest, ServiceWithoutADescriptorEndsTheProcess) {
  const CallFault fault(Call::Pipe2, EMFILE);
  EXPECT_DEATH(WorkerThreadService::createInstance(1), "ExecObjectEventReceiver\\.cpp:36: .*`false' failed");
}

TEST(WorkerThreadServiceDeathTest, WorkerThatCannotBeStartedEndsTheProcess) {
  const CallFault fault(Call::ThreadCreate, EAGAIN, 1);
  EXPECT_DEATH(WorkerThreadService::createInstance(2), "Thread\\.cpp:53: .*`ret == 0' failed");
}

// In a process of its own, because a lost request's exec object is never freed.
TEST(WorkerThreadServiceDeathTest, RequestThatTheChannelRefusesIsLoggedAndLost) {
  EXPECT_EXIT(
      {
        const Service service(1);
        EventLooperMultiWait looper;
        FunctionRequest request;
        std::vector<WorkerThreadExecId_t> ids;
        FunctionObserver observer([&](WorkerThreadExecId_t id, FunctionObserver::Request&) {
          ids.push_back(id);
          looper.exitEventLoop();
        });
        const LogCapture log;
        run(looper, [&] {
          {
            const CallFault fault(Call::Write, EIO);
            put(request, observer);
          }
          put(request, observer);
        });
        const std::vector<KelpTest::LogLine> expected{
            KelpTest::errorLine("ExecObjectEventSender.cpp", 50, "send", "###ERROR###\n")};
        const bool isRight = ids == std::vector<WorkerThreadExecId_t>{1} && log.errors() == expected;
        _exit(isRight ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

// The same on the way back.
TEST(WorkerThreadServiceDeathTest, AnswerThatTheLoopsChannelRefusesIsLoggedAndLost) {
  EXPECT_EXIT(
      {
        const Service service(1);
        EventLooperMultiWait looper;
        std::promise<void> arePut;
        std::unique_ptr<CallFault> fault;
        FunctionRequest lost([&] {
          arePut.get_future().wait();  // the next write is the answer
          fault = std::make_unique<CallFault>(Call::Write, EIO);
        });
        FunctionRequest answered;
        std::vector<WorkerThreadExecId_t> ids;
        FunctionObserver observer([&](WorkerThreadExecId_t id, FunctionObserver::Request&) {
          ids.push_back(id);
          looper.exitEventLoop();
        });
        const LogCapture log;
        run(looper, [&] {
          put(lost, observer);
          put(answered, observer);
          arePut.set_value();
        });
        const std::vector<KelpTest::LogLine> expected{
            KelpTest::errorLine("ExecObjectEventSender.cpp", 50, "send", "###ERROR###\n")};
        const bool isRight = ids == std::vector<WorkerThreadExecId_t>{1} && log.errors() == expected;
        _exit(isRight ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
