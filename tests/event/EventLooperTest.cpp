#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "EventLooper.h"
#include "support/LogCapture.h"
#include "support/LoopActors.h"
#include "support/ObjectType.h"

namespace {

using Kelp::EventLooper;
using KelpTest::Action;
using KelpTest::FunctionDisposable;

// Runs an action a pass.
class FunctionLooper : public EventLooper {
 public:
  explicit FunctionLooper(Action action = {})
      : EventLooper(EVENT_LOOPER_TYPE_SINGLE_WAIT), m_action(std::move(action)) {}
  void setAction(Action action) { m_action = std::move(action); }
  void processEvent() override { m_action(); }

 private:
  Action m_action;
};

// Whether a loop can run and be found. Logs nothing and builds nothing static.
bool runsOnce() {
  FunctionLooper looper;
  bool wasFound = false;
  looper.setAction([&] {
    wasFound = EventLooper::getRunningLooper() == &looper;
    looper.exitEventLoop();
  });
  looper.runEventLoop();
  return wasFound && EventLooper::getRunningLooper() == nullptr;
}

// Built before anything in this process has used a looper, so destroyed after all that the library might have built.
struct LoopInDestructor {
  ~LoopInDestructor() {
    if (s_isWanted) {
      _exit(runsOnce() ? 0 : 1);
    }
  }
  static bool s_isWanted;
};

bool LoopInDestructor::s_isWanted = false;
const LoopInDestructor s_loopInDestructor;
const bool s_ranBeforeMain = runsOnce();

TEST(EventLooperTest, LoopsRunInStaticConstructorsOfTheHost) {
  EXPECT_TRUE(s_ranBeforeMain);
}

TEST(EventLooperDeathTest, LoopsRunInStaticDestructorsOfTheHost) {
  EXPECT_EXIT(
      {
        LoopInDestructor::s_isWanted = true;
        exit(2);
      },
      testing::ExitedWithCode(0), "");
}

TEST(EventLooperTest, StartsNotRunningAndNotToldToExit) {
  const FunctionLooper looper;
  EXPECT_FALSE(looper.isRunning());
  EXPECT_FALSE(looper.needsExit());
  EXPECT_EQ(looper.getEventLooperType(), EventLooper::EVENT_LOOPER_TYPE_SINGLE_WAIT);
  EXPECT_EQ(KelpTest::objectTypeOf(looper), 0);
}

TEST(EventLooperTest, TypeNumbersStayTheSame) {
  EXPECT_EQ(EventLooper::EVENT_LOOPER_TYPE_MULTI_WAIT, 0);
  EXPECT_EQ(EventLooper::EVENT_LOOPER_TYPE_SINGLE_WAIT, 1);
}

TEST(EventLooperTest, RunsPassAfterPassUntilToldToExit) {
  int passes = 0;
  FunctionLooper looper;
  looper.setAction([&] {
    if (++passes == 3) {
      looper.exitEventLoop();
    }
  });
  looper.runEventLoop();
  EXPECT_EQ(passes, 3);
  EXPECT_TRUE(looper.needsExit());
}

TEST(EventLooperTest, LooperToldToExitBeforeItRunsReturnsAtOnce) {
  int passes = 0;
  FunctionLooper looper([&] { passes++; });
  looper.exitEventLoop();
  looper.runEventLoop();
  EXPECT_EQ(passes, 0);
}

TEST(EventLooperTest, SecondRunReturnsAtOnce) {
  int passes = 0;
  FunctionLooper looper;
  looper.setAction([&] {
    passes++;
    looper.exitEventLoop();
  });
  looper.runEventLoop();
  looper.runEventLoop();
  EXPECT_EQ(passes, 1);
}

TEST(EventLooperTest, ThreadCanRunOneLoopAfterTheOther) {
  EXPECT_TRUE(runsOnce());
  EXPECT_TRUE(runsOnce());
}

TEST(EventLooperDeathTest, LoopInsideALoopEndsTheProcess) {
  FunctionLooper inner;
  FunctionLooper outer([&] { inner.runEventLoop(); });
  EXPECT_DEATH(outer.runEventLoop(),
               "EventLooper\\.cpp:60: void Kelp::EventLooper::runEventLoop\\(\\): "
               "Assertion `__null == EventLooper::getRunningLooper\\(\\)' failed");
}

TEST(EventLooperTest, EndsOnAnotherThreadsFlag) {
  std::promise<void> started;
  FunctionLooper looper;
  bool isStarted = false;
  looper.setAction([&] {
    if (!isStarted) {
      isStarted = true;
      started.set_value();
    }
    std::this_thread::yield();
  });
  std::thread thread([&] { looper.runEventLoop(); });
  started.get_future().wait();
  EXPECT_TRUE(looper.isRunning());
  looper.exitEventLoop();
  thread.join();
  EXPECT_FALSE(looper.isRunning());
}

// --- registry

TEST(EventLooperTest, IsFoundFromItsOwnThreadWhileItRuns) {
  FunctionLooper looper;
  looper.setAction([&] {
    EXPECT_TRUE(looper.isRunning());
    EXPECT_EQ(EventLooper::getRunningLooper(), &looper);
    EXPECT_EQ(EventLooper::getRunningLooper(pthread_self()), &looper);
    looper.exitEventLoop();
  });
  EXPECT_EQ(EventLooper::getRunningLooper(), nullptr);
  looper.runEventLoop();
  EXPECT_EQ(EventLooper::getRunningLooper(), nullptr);
  EXPECT_FALSE(looper.isRunning());
}

TEST(EventLooperTest, IsFoundByItsThreadsIdFromAnotherThread) {
  std::promise<pthread_t> threadId;
  std::promise<void> isChecked;
  FunctionLooper looper;
  looper.setAction([&] {
    threadId.set_value(pthread_self());
    isChecked.get_future().wait();
    looper.exitEventLoop();
  });
  std::thread thread([&] { looper.runEventLoop(); });
  const pthread_t id = threadId.get_future().get();
  EXPECT_EQ(EventLooper::getRunningLooper(id), &looper);
  EXPECT_EQ(EventLooper::getRunningLooper(), nullptr);
  EXPECT_TRUE(looper.hasEqualThreadId(id));
  EXPECT_FALSE(looper.hasEqualThreadId(pthread_self()));
  isChecked.set_value();
  thread.join();
}

TEST(EventLooperTest, EachOfManyThreadsFindsItsOwnLooper) {
  constexpr int kThreads = 8;
  std::atomic<int> running{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; i++) {
    threads.emplace_back([&] {
      FunctionLooper looper;
      int passes = 0;
      looper.setAction([&] {
        if (passes++ == 0) {
          running++;
        }
        EXPECT_EQ(EventLooper::getRunningLooper(), &looper);
        if (running == kThreads && passes > 20) {
          looper.exitEventLoop();
        }
      });
      looper.runEventLoop();
      EXPECT_EQ(EventLooper::getRunningLooper(), nullptr);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(EventLooperTest, MultiWaitLooperIsNotFoundWhereASingleWaitLooperRuns) {
  EXPECT_EQ(EventLooper::getRunningLooperMultiWait(), nullptr);
  FunctionLooper looper;
  looper.setAction([&] {
    EXPECT_EQ(EventLooper::getRunningLooperMultiWait(), nullptr);
    looper.exitEventLoop();
  });
  looper.runEventLoop();
}

TEST(EventLooperDeathTest, AskingAnIdleLooperForItsThreadEndsTheProcess) {
  FunctionLooper looper;
  EXPECT_DEATH(looper.hasEqualThreadId(pthread_self()),
               "EventLooper\\.cpp:177: bool Kelp::EventLooper::hasEqualThreadId\\(pthread_t\\): "
               "Assertion `m_isThreadIdValid' failed");
}

// --- garbage box

TEST(EventLooperTest, DisposableIsDeletedBetweenThePassAndTheNext) {
  bool isDeleted = false;
  int passes = 0;
  FunctionLooper looper;
  looper.setAction([&] {
    if (passes++ == 0) {
      looper.disposeSafely(*new FunctionDisposable([&] { isDeleted = true; }));
      EXPECT_FALSE(isDeleted);
    } else {
      EXPECT_TRUE(isDeleted);
      looper.exitEventLoop();
    }
  });
  looper.runEventLoop();
  EXPECT_EQ(passes, 2);
}

TEST(EventLooperTest, DisposableIsDeletedAfterTheLastPassToo) {
  bool isDeleted = false;
  FunctionLooper looper;
  looper.setAction([&] {
    looper.disposeSafely(*new FunctionDisposable([&] { isDeleted = true; }));
    looper.exitEventLoop();
  });
  looper.runEventLoop();
  EXPECT_TRUE(isDeleted);
}

TEST(EventLooperTest, DisposablesAreDeletedInTheOrderInWhichTheyCame) {
  std::vector<int> deleted;
  FunctionLooper looper;
  looper.setAction([&] {
    for (int i = 0; i < 3; i++) {
      looper.disposeSafely(*new FunctionDisposable([&deleted, i] { deleted.push_back(i); }));
    }
    looper.exitEventLoop();
  });
  looper.runEventLoop();
  EXPECT_EQ(deleted, (std::vector<int>{0, 1, 2}));
}

TEST(EventLooperTest, DestructorsMayHandOverFurtherDisposables) {
  std::vector<int> deleted;
  FunctionLooper looper;
  const auto last = [&] { deleted.push_back(2); };
  const auto first = [&] {
    deleted.push_back(0);
    looper.disposeSafely(*new FunctionDisposable(last));
  };
  looper.setAction([&] {
    looper.disposeSafely(*new FunctionDisposable(first));
    looper.disposeSafely(*new FunctionDisposable([&] { deleted.push_back(1); }));
    looper.exitEventLoop();
  });
  looper.runEventLoop();
  EXPECT_EQ(deleted, (std::vector<int>{0, 1, 2}));
}

TEST(EventLooperTest, DestructionEmptiesTheGarbageBox) {
  std::vector<int> deleted;
  auto looper = std::make_unique<FunctionLooper>();
  EventLooper& base = *looper;
  base.disposeSafely(*new FunctionDisposable([&] {
    deleted.push_back(0);
    base.disposeSafely(*new FunctionDisposable([&] { deleted.push_back(1); }));
  }));
  EXPECT_TRUE(deleted.empty());
  looper.reset();
  EXPECT_EQ(deleted, (std::vector<int>{0, 1}));
}

}  // namespace
