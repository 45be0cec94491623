#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ExecObjectEventReceiver.h"
#include "ExecObjectEventSender.h"
#include "support/CallFaults.h"
#include "support/Descriptors.h"
#include "support/LogCapture.h"
#include "support/LoopActors.h"
#include "support/ObjectType.h"
#include "support/SignalStorm.h"

namespace {

using Kelp::ExecObject;
using Kelp::ExecObjectEventReceiver;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::FunctionExecObject;
using KelpTest::LogCapture;
using KelpTest::LogLine;

const LogLine kFailedReceive =
    KelpTest::errorLine("ExecObjectEventReceiver.cpp", 61, "receiveAndExecuteEvent", "###ERROR###\n");

TEST(ExecObjectEventReceiverTest, RegistersUnderItsObjectType) {
  ExecObjectEventReceiver receiver;
  EXPECT_EQ(KelpTest::objectTypeOf(receiver), 11);
  EXPECT_EQ(KelpTest::objectTypeOf(receiver.getSender()), 12);
}

TEST(ExecObjectEventReceiverTest, BothEndsAreCloseOnExecAndBlock) {
  ExecObjectEventReceiver receiver;
  for (const int fd : {receiver.getFd(), receiver.getSender().getFd()}) {
    EXPECT_TRUE(KelpTest::isCloseOnExec(fd));
    EXPECT_EQ(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
  }
}

TEST(ExecObjectEventReceiverTest, DestructionClosesBothEnds) {
  auto receiver = std::make_unique<ExecObjectEventReceiver>();
  const int readEnd = receiver->getFd();
  const int writeEnd = receiver->getSender().getFd();
  const LogCapture log;
  receiver.reset();
  EXPECT_FALSE(KelpTest::isOpen(readEnd));
  EXPECT_FALSE(KelpTest::isOpen(writeEnd));
  EXPECT_TRUE(log.lines().empty());
}

TEST(ExecObjectEventReceiverTest, ObjectIsExecutedAndThenDeleted) {
  ExecObjectEventReceiver receiver;
  std::vector<std::string> steps;
  receiver.getSender().send(
      *new FunctionExecObject([&] { steps.push_back("execute"); }, [&] { steps.push_back("delete"); }));
  receiver.receiveAndExecuteEvent();
  EXPECT_EQ(steps, (std::vector<std::string>{"execute", "delete"}));
}

TEST(ExecObjectEventReceiverTest, EachCallTakesOneObjectInTheOrderSent) {
  ExecObjectEventReceiver receiver;
  std::vector<int> executed;
  int deleted = 0;
  for (int i = 0; i < 3; i++) {
    receiver.getSender().send(*new FunctionExecObject([&executed, i] { executed.push_back(i); }, [&] { deleted++; }));
  }
  for (int i = 1; i <= 3; i++) {
    receiver.receiveAndExecuteEvent();
    EXPECT_EQ(deleted, i);
  }
  EXPECT_EQ(executed, (std::vector<int>{0, 1, 2}));
}

TEST(ExecObjectEventReceiverTest, ObjectMaySendAnotherOne) {
  ExecObjectEventReceiver receiver;
  int executed = 0;
  receiver.getSender().send(
      *new FunctionExecObject([&] { receiver.getSender().send(*new FunctionExecObject([&] { executed++; })); }));
  receiver.receiveAndExecuteEvent();
  EXPECT_EQ(executed, 0);
  receiver.receiveAndExecuteEvent();
  EXPECT_EQ(executed, 1);
}

TEST(ExecObjectEventReceiverTest, UnreadObjectsAreNeitherExecutedNorDeleted) {
  int executed = 0;
  int deleted = 0;
  auto* object = new FunctionExecObject([&] { executed++; }, [&] { deleted++; });
  {
    ExecObjectEventReceiver receiver;
    receiver.getSender().send(*object);
  }
  EXPECT_EQ(executed, 0);
  EXPECT_EQ(deleted, 0);
  delete object;
}

TEST(ExecObjectEventReceiverTest, NullAddressIsNeitherExecutedNorDeleted) {
  ExecObjectEventReceiver receiver;
  const LogCapture log;
  ExecObject* message = nullptr;
  ASSERT_EQ(write(receiver.getSender().getFd(), &message, sizeof(message)), static_cast<ssize_t>(sizeof(message)));
  receiver.receiveAndExecuteEvent();
  EXPECT_TRUE(log.lines().empty());
}

TEST(ExecObjectEventReceiverTest, FailedReadIsLoggedAndNothingIsExecuted) {
  ExecObjectEventReceiver receiver;
  int executed = 0;
  auto* object = new FunctionExecObject([&] { executed++; });
  receiver.getSender().send(*object);
  const LogCapture log;
  const CallFault fault(Call::Read, EIO);
  receiver.receiveAndExecuteEvent();
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kFailedReceive});
  EXPECT_EQ(executed, 0);
  delete object;
}

TEST(ExecObjectEventReceiverTest, ShortMessageIsLoggedAndNothingIsExecuted) {
  ExecObjectEventReceiver receiver;
  const int writeEnd = receiver.getSender().getFd();
  ASSERT_EQ(write(writeEnd, "abc", 3), 3);
  const int other = open("/dev/null", O_WRONLY | O_CLOEXEC);
  ASSERT_EQ(dup3(other, writeEnd, O_CLOEXEC), writeEnd);  // closes the pipe's only write end
  close(other);
  const LogCapture log;
  receiver.receiveAndExecuteEvent();
  receiver.receiveAndExecuteEvent();
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{kFailedReceive, kFailedReceive}));
}

TEST(ExecObjectEventReceiverTest, MessageInPiecesIsPutTogether) {
  ExecObjectEventReceiver receiver;
  int executed = 0;
  ExecObject* message = new FunctionExecObject([&] { executed++; });
  const char* bytes = reinterpret_cast<const char*>(&message);
  ASSERT_EQ(write(receiver.getSender().getFd(), bytes, 1), 1);
  std::thread rest([&] {
    EXPECT_EQ(write(receiver.getSender().getFd(), bytes + 1, sizeof(message) - 1),
              static_cast<ssize_t>(sizeof(message)) - 1);
  });
  receiver.receiveAndExecuteEvent();
  rest.join();
  EXPECT_EQ(executed, 1);
}

TEST(ExecObjectEventReceiverTest, WaitSurvivesAStormOfSignals) {
  ExecObjectEventReceiver receiver;
  int executed = 0;
  const LogCapture log;
  const KelpTest::SignalStorm storm;
  std::thread sender([&] {
    storm.waitForMoreHits(50);
    receiver.getSender().send(*new FunctionExecObject([&] { executed++; }));
  });
  receiver.receiveAndExecuteEvent();
  sender.join();
  EXPECT_EQ(executed, 1);
  EXPECT_TRUE(log.errors().empty());
}

TEST(ExecObjectEventReceiverTest, SeveralThreadsShareOneChannel) {
  constexpr int kThreads = 4;
  constexpr int kObjectsEach = 500;
  ExecObjectEventReceiver receiver;
  std::vector<std::atomic<int>> executions(kThreads * kObjectsEach);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; t++) {
    threads.emplace_back([&] {
      for (int i = 0; i < kObjectsEach; i++) {
        receiver.receiveAndExecuteEvent();
      }
    });
    threads.emplace_back([&, t] {
      for (int i = 0; i < kObjectsEach; i++) {
        std::atomic<int>& counter = executions[static_cast<size_t>(t * kObjectsEach + i)];
        receiver.getSender().send(*new FunctionExecObject([&counter] { counter++; }));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const std::atomic<int>& counter : executions) {
    EXPECT_EQ(counter, 1);
  }
}

TEST(ExecObjectEventReceiverDeathTest, CreationWithoutDescriptorsEndsTheProcess) {
  EXPECT_DEATH(
      {
        const CallFault fault(Call::Pipe2, EMFILE);
        const ExecObjectEventReceiver receiver;
      },
      "ExecObjectEventReceiver\\.cpp:36: Kelp::ExecObjectEventReceiver::ExecObjectEventReceiver\\(\\): "
      "Assertion `false' failed");
}

}  // namespace
