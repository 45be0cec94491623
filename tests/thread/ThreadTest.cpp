#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include "Thread.h"
#include "support/CallFaults.h"
#include "support/Emulator.h"
#include "support/ObjectType.h"
#include "thread/WorkerActors.h"

namespace {

using Kelp::Thread;
using KelpTest::Action;
using KelpTest::Call;
using KelpTest::CallFault;

constexpr int kStackSize = 256 * 1024;

class FunctionThread : public Thread {
 public:
  explicit FunctionThread(Action action = {}, bool blockAllSignals = false, int stackSize = kStackSize)
      : Thread(blockAllSignals, stackSize), m_action(std::move(action)) {}
  void run() override {
    if (m_action) {
      m_action();
    }
  }

 private:
  Action m_action;
};

void* startAndJoin(FunctionThread& thread) {
  void* exitValue = &thread;
  thread.start();
  EXPECT_EQ(pthread_join(thread.getThreadId(), &exitValue), 0);
  return exitValue;
}

sigset_t maskOfThread(bool blockAllSignals) {
  sigset_t mask;
  sigemptyset(&mask);
  FunctionThread thread([&] { pthread_sigmask(SIG_BLOCK, nullptr, &mask); }, blockAllSignals);
  startAndJoin(thread);
  return mask;
}

TEST(ThreadTest, HasNoTypeNumberOfItsOwn) {
  EXPECT_EQ(KelpTest::objectTypeOf(FunctionThread()), 0);
}

TEST(ThreadTest, IdIsThatOfTheThreadThatBuiltItUntilItIsStarted) {
  const FunctionThread thread;
  EXPECT_TRUE(pthread_equal(thread.getThreadId(), pthread_self()));
}

TEST(ThreadTest, RunsOnAThreadOfItsOwnWhoseIdItKnows) {
  pthread_t runningThread = pthread_self();
  FunctionThread thread([&] { runningThread = pthread_self(); });
  startAndJoin(thread);
  EXPECT_FALSE(pthread_equal(runningThread, pthread_self()));
  EXPECT_TRUE(pthread_equal(runningThread, thread.getThreadId()));
}

TEST(ThreadTest, ExitValueIsNullWhereTheWorkReturns) {
  FunctionThread thread;
  EXPECT_EQ(startAndJoin(thread), nullptr);
}

TEST(ThreadTest, StackHasTheSizeThatWasAskedFor) {
  size_t size = 0;
  FunctionThread thread([&] { size = KelpTest::ownStackSize(); });
  startAndJoin(thread);
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  EXPECT_GE(size, size_t{kStackSize});  // the sanitizer adds its own
#else
  EXPECT_EQ(size, size_t{kStackSize});
#endif
}

TEST(ThreadTest, BlocksAllSignalsWhereThatIsWanted) {
  const sigset_t mask = maskOfThread(true);
  for (const int number :
       {SIGHUP, SIGINT, SIGTERM, SIGPIPE, SIGALRM, SIGCHLD, SIGUSR1, SIGSEGV, SIGRTMIN, KelpTest::lastSignal()}) {
    EXPECT_EQ(sigismember(&mask, number), 1) << number;
  }
}

TEST(ThreadTest, KeepsItsMakersSignalsOtherwise) {
  sigset_t wanted;
  sigset_t former;
  sigemptyset(&wanted);
  sigaddset(&wanted, SIGUSR1);
  pthread_sigmask(SIG_SETMASK, &wanted, &former);
  const sigset_t mask = maskOfThread(false);
  pthread_sigmask(SIG_SETMASK, &former, nullptr);
  EXPECT_EQ(sigismember(&mask, SIGUSR1), 1);
  EXPECT_EQ(sigismember(&mask, SIGUSR2), 0);
  EXPECT_EQ(sigismember(&mask, SIGTERM), 0);
}

TEST(ThreadTest, MakersSignalsStayAsTheyWere) {
  sigset_t mask;
  maskOfThread(true);
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGTERM), 0);
}

TEST(ThreadDeathTest, StartWithoutAttributesEndsTheProcess) {
  FunctionThread thread;
  const CallFault fault(Call::AttrInit, ENOMEM);
  EXPECT_DEATH(thread.start(), "Thread\\.cpp:46: void Kelp::Thread::start\\(\\): Assertion `ret == 0' failed");
}

TEST(ThreadDeathTest, StackBelowThePlatformsSmallestEndsTheProcess) {
  FunctionThread thread({}, false, 1);
  EXPECT_DEATH(thread.start(), "Thread\\.cpp:50: void Kelp::Thread::start\\(\\): Assertion `ret == 0' failed");
}

TEST(ThreadDeathTest, StartWhereTheSystemGivesNoThreadEndsTheProcess) {
  FunctionThread thread;
  const CallFault fault(Call::ThreadCreate, EAGAIN);
  EXPECT_DEATH(thread.start(), "Thread\\.cpp:53: void Kelp::Thread::start\\(\\): Assertion `ret == 0' failed");
}

TEST(ThreadDeathTest, SignalsThatCannotBeBlockedEndTheProcess) {
  FunctionThread thread({}, true);
  const CallFault fault(Call::Sigmask, EINVAL);
  EXPECT_DEATH(thread.runMain(), "Thread\\.cpp:67: void Kelp::Thread::runMain\\(\\): Assertion `ret == 0' failed");
}

}  // namespace
