#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <memory>
#include <vector>

#include "EventLooper.h"
#include "ExecObjectEventReceiver.h"
#include "ExecObjectEventSender.h"
#include "WorkerThread.h"
#include "support/CallFaults.h"
#include "support/Emulator.h"
#include "support/ObjectType.h"
#include "thread/WorkerActors.h"
#include "thread/WorkerStackSize.h"

namespace {

using Kelp::EventLooper;
using Kelp::ExecObjectEventReceiver;
using Kelp::workerStackSize;
using Kelp::WorkerThread;
using KelpTest::Action;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::FunctionExecObject;

class WorkerThreadTest : public testing::Test {
 protected:
  void send(Action action) { m_channel.getSender().send(*new FunctionExecObject(std::move(action))); }

  ExecObjectEventReceiver m_channel;
  WorkerThread m_worker{m_channel, workerStackSize()};
};

using WorkerThreadDeathTest = WorkerThreadTest;

TEST_F(WorkerThreadTest, HasItsTypeNumber) {
  EXPECT_EQ(KelpTest::objectTypeOf(m_worker), 40);
}

TEST_F(WorkerThreadTest, ExecutesInOrderOnItsOwnThreadWhatTheChannelHolds) {
  std::vector<int> executed;
  pthread_t executingThread = pthread_self();
  send([&] { executingThread = pthread_self(); });
  send([&] { executed.push_back(1); });
  send([&] { executed.push_back(2); });
  m_worker.start();
  m_worker.exit();
  m_worker.join();
  EXPECT_EQ(executed, (std::vector<int>{1, 2}));
  EXPECT_TRUE(pthread_equal(executingThread, m_worker.getThreadId()));
}

TEST_F(WorkerThreadTest, RunsASingleWaitLoop) {
  EventLooper::EventLooperType type = EventLooper::EVENT_LOOPER_TYPE_MULTI_WAIT;
  send([&] { type = EventLooper::getRunningLooper()->getEventLooperType(); });
  m_worker.start();
  m_worker.exit();
  m_worker.join();
  EXPECT_EQ(type, EventLooper::EVENT_LOOPER_TYPE_SINGLE_WAIT);
}

TEST_F(WorkerThreadTest, ExitValueIsTheWorker) {
  void* exitValue = nullptr;
  m_worker.start();
  m_worker.exit();
  ASSERT_EQ(pthread_join(m_worker.getThreadId(), &exitValue), 0);
  EXPECT_EQ(exitValue, &m_worker);
}

TEST_F(WorkerThreadTest, BlocksAllSignals) {
  sigset_t mask;
  sigemptyset(&mask);
  send([&] { pthread_sigmask(SIG_BLOCK, nullptr, &mask); });
  m_worker.start();
  m_worker.exit();
  m_worker.join();
  EXPECT_EQ(sigismember(&mask, SIGTERM), 1);
  EXPECT_EQ(sigismember(&mask, KelpTest::lastSignal()), 1);
}

TEST_F(WorkerThreadTest, EachOfSeveralExitMessagesEndsAnotherWorker) {
  std::vector<std::unique_ptr<WorkerThread>> workers;
  for (int i = 0; i < 4; i++) {
    workers.push_back(std::make_unique<WorkerThread>(m_channel, workerStackSize()));
    workers.back()->start();
  }
  for (const auto& worker : workers) {
    worker->exit();
  }
  for (const auto& worker : workers) {
    worker->join();
    EXPECT_EQ(EventLooper::getRunningLooper(worker->getThreadId()), nullptr);
  }
}

TEST_F(WorkerThreadDeathTest, JoiningAThreadThatEndedOtherwiseEndsTheProcess) {
  EXPECT_DEATH(
      {
        m_worker.start();
        send([] { pthread_exit(nullptr); });
        m_worker.join();
      },
      "WorkerThread\\.cpp:63: void Kelp::WorkerThread::join\\(\\): Assertion `p == this' failed");
}

TEST_F(WorkerThreadDeathTest, ExitValueIsLookedAtBeforeTheJoinsResult) {
  EXPECT_DEATH(
      {
        m_worker.start();
        send([] { pthread_exit(nullptr); });
        const CallFault fault(Call::ThreadJoin, EINVAL);
        m_worker.join();
      },
      "WorkerThread\\.cpp:63: ");
}

TEST_F(WorkerThreadDeathTest, FailedJoinEndsTheProcess) {
  EXPECT_DEATH(
      {
        m_worker.start();
        m_worker.exit();
        const CallFault fault(Call::ThreadJoin, EINVAL);
        m_worker.join();
      },
      "WorkerThread\\.cpp:64: void Kelp::WorkerThread::join\\(\\): Assertion `ret == 0' failed");
}

}  // namespace
