#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include <new>

#include "ipc/Sigpipe.h"
#include "ipc/SigpipeGuard.h"
#include "support/CallFaults.h"

using Kelp::SigpipeGuard;
using KelpTest::SigpipeBlocked;
using KelpTest::SigpipeDisposition;
using KelpTest::takePendingSigpipes;

namespace {

// What the system gives to one that a write raises.
constexpr int kRaisedByWrite = SI_USER;

void ignoreWithDetails(int /*signal*/, siginfo_t* /*info*/, void* /*context*/) {}

class SigpipeGuardTest : public testing::Test {
 protected:
  SigpipeGuardTest() : m_fd(-1), m_disposition(SIG_DFL) {
    int fds[2];
    EXPECT_EQ(0, pipe2(fds, O_CLOEXEC));
    close(fds[0]);
    m_fd = fds[1];
  }
  ~SigpipeGuardTest() override { close(m_fd); }

  void raiseByWrite() {
    EXPECT_EQ(-1, write(m_fd, "x", 1));
    EXPECT_EQ(EPIPE, errno);
  }

  void raiseUnderGuard() {
    SigpipeGuard guard;
    raiseByWrite();
    guard.takeBackRaised();
  }

 private:
  int m_fd;
  SigpipeDisposition m_disposition;
};

}  // namespace

TEST_F(SigpipeGuardTest, TakesBackWhatAWriteRaised) {
  raiseUnderGuard();  // the signal would end the process
  const SigpipeBlocked blocked;
  EXPECT_TRUE(takePendingSigpipes().empty());
}

TEST_F(SigpipeGuardTest, LeavesTheMaskAsItIsWhenItCannotBlock) {
  alignas(SigpipeGuard) unsigned char memory[sizeof(SigpipeGuard)];
  memset(memory, 0xFF, sizeof(memory));  // the mask of all signals
  SigpipeGuard* guard = nullptr;
  {
    const KelpTest::CallFault fault(KelpTest::Call::Sigmask, EINVAL);
    guard = new (memory) SigpipeGuard;
  }
  guard->~SigpipeGuard();
  EXPECT_FALSE(KelpTest::isSigpipeBlocked());
}

TEST_F(SigpipeGuardTest, BlocksOnlyWhileItLives) {
  {
    const SigpipeGuard guard;
    EXPECT_TRUE(KelpTest::isSigpipeBlocked());
  }
  EXPECT_FALSE(KelpTest::isSigpipeBlocked());
}

TEST_F(SigpipeGuardTest, LeavesABlockedSignalBlocked) {
  const SigpipeBlocked blocked;
  raiseUnderGuard();
  EXPECT_TRUE(KelpTest::isSigpipeBlocked());
  EXPECT_TRUE(takePendingSigpipes().empty());
}

TEST_F(SigpipeGuardTest, TakesNothingWhenNothingWasRaised) {
  const SigpipeBlocked blocked;
  SigpipeGuard guard;
  guard.takeBackRaised();
  EXPECT_TRUE(takePendingSigpipes().empty());
}

TEST_F(SigpipeGuardTest, KeepsOneThatWasPendingForTheThreadAsItWas) {
  const SigpipeBlocked blocked;
  pthread_sigqueue(pthread_self(), SIGPIPE, sigval{});
  raiseUnderGuard();
  EXPECT_EQ(std::vector<int>{SI_QUEUE}, takePendingSigpipes());
}

TEST_F(SigpipeGuardTest, KeepsOneThatAnEarlierWriteRaised) {
  const SigpipeBlocked blocked;
  raiseByWrite();
  raiseUnderGuard();
  EXPECT_EQ(std::vector<int>{kRaisedByWrite}, takePendingSigpipes());
}

TEST_F(SigpipeGuardTest, KeepsOneThatWasPendingForTheProcess) {
  const SigpipeBlocked blocked;
  sigqueue(getpid(), SIGPIPE, sigval{});
  raiseUnderGuard();
  EXPECT_EQ(std::vector<int>{SI_QUEUE}, takePendingSigpipes());
}

TEST_F(SigpipeGuardTest, KeepsBothThatWerePendingForTheThreadAndForTheProcess) {
  const SigpipeBlocked blocked;
  pthread_sigqueue(pthread_self(), SIGPIPE, sigval{});
  kill(getpid(), SIGPIPE);
  raiseUnderGuard();
  EXPECT_EQ((std::vector<int>{SI_QUEUE, SI_USER}), takePendingSigpipes());
}

TEST_F(SigpipeGuardTest, KnowsWhetherTheProcessIgnoresTheSignal) {
  EXPECT_FALSE(SigpipeGuard::isSigpipeIgnored());
  {
    const SigpipeDisposition ignored(SIG_IGN);
    EXPECT_TRUE(SigpipeGuard::isSigpipeIgnored());
  }
  const SigpipeDisposition handled([](int) {});
  EXPECT_FALSE(SigpipeGuard::isSigpipeIgnored());
}

TEST_F(SigpipeGuardTest, AHandlerThatTakesDetailsIsNotIgnoring) {
  struct sigaction action = {};
  action.sa_flags = SA_SIGINFO;
  action.sa_sigaction = ignoreWithDetails;
  ASSERT_EQ(0, sigaction(SIGPIPE, &action, nullptr));
  EXPECT_FALSE(SigpipeGuard::isSigpipeIgnored());
}
