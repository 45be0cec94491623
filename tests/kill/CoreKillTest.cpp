// The example core is killed while it serves, or while it starts, and started again: its clients get their time-outs
// and refusals, and work again with the new one.
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "AppPrefList.h"
#include "FilePathManager.h"
#include "common/WebApi.h"
#include "examples/Caller.h"
#include "examples/ExamplePrograms.h"
#include "kill/KillRounds.h"
#include "kill/SteadyCaller.h"

namespace KelpTest {
namespace {

using Kelp::FilePathManager;
using std::chrono::microseconds;

constexpr int kTimeoutMs = 100;
constexpr size_t kClients = 4;

// What the file holds is what its list would write: it is whole.
void expectWhole(const std::string& path) {
  const Kelp::AppPrefList list(path, false, 0);
  ASSERT_FALSE(list.hasError());
  std::string text;
  EXPECT_TRUE(list.getAppPrefJsonStringForCRC(text));
  EXPECT_EQ(text, contentOf(path));
}

class CoreKillTest : public ExamplesTest {
 protected:
  CoreKillTest() : m_core(std::make_unique<CoreProcess>()) {
    setRunningTime(1);
    for (unsigned i = 0; i < kClients; ++i) {
      m_clients.push_back(std::make_unique<SteadyCaller>(i, kTimeoutMs, i % 2 == 0));
    }
    expectClientsWork();
    for (const auto& client : m_clients) {
      m_descriptors.push_back(descriptorCount(client->pid()));
    }
  }

  void expectClientsWork() {
    for (const auto& client : m_clients) {
      const uint64_t answered = client->account().answered;
      EXPECT_TRUE(becomesTrue([&] { return client->hasGoneOnSince(answered); }));
    }
  }

  // An application of the core's reports, and preferences are being changed while the core dies.
  std::unique_ptr<ClientProcess> keepCoreBusy(int round) {
    EXPECT_EQ(200, callApi("methodName=startApplication&installId=00000002").httpStatus);
    const std::string body =
        "methodName=setPreference&installId=00000001&prefName=interval&prefType=Integer&prefValue=" +
        std::to_string(1000 + round);
    return std::make_unique<ClientProcess>(body, postVariables(body, "application/x-www-form-urlencoded"));
  }

  // The clients notice: those whose request is lost by their time-out, the others by a refusal.
  void expectClientsNotice() {
    for (const auto& client : m_clients) {
      const uint64_t failed = client->account().timedOut + client->account().refused;
      EXPECT_TRUE(becomesTrue([&] { return client->account().timedOut + client->account().refused > failed; }));
    }
  }

  void killOneRound(int round) {
    const auto change = keepCoreBusy(round);
    m_moments.pass(microseconds(10000));
    m_core->sendSignal(SIGKILL);
    EXPECT_TRUE(WIFSIGNALED(m_core->waitForEnd()));
    change->sendSignal(SIGKILL);  // its time-out is long
    change->waitForReply();
    expectClientsNotice();
    // Its applications end with it, and take their FIFOs along.
    EXPECT_TRUE(becomesTrue([] { return !has(contentsOfCoreDirectory(), "_0"); }));
    if (m_moments.pick(3) == 0) {
      killStartingCore();
    }
    m_core = std::make_unique<CoreProcess>();
  }

  void killStartingCore() {
    CoreProcess core(CoreProcess::Start::Fails);
    m_moments.pass(microseconds(8000));
    core.sendSignal(SIGKILL);
    core.waitForEnd();
  }

  static std::string contentsOfCoreDirectory() {
    std::string names;
    for (const std::string& name : filesIn(FilePathManager::getCoreTmpPath())) {
      names += name + "\n";
    }
    return names;
  }

  std::unique_ptr<CoreProcess> m_core;
  std::vector<std::unique_ptr<SteadyCaller>> m_clients;
  std::vector<size_t> m_descriptors;
  Moments m_moments;
};

TEST_F(CoreKillTest, ClientsGetTheirTimeOutsAndWorkAgainWithTheNextCore) {
  const int rounds = killRounds(15);
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    killOneRound(round);
    expectClientsWork();
    expectWhole(m_clockPrefs);
    for (const auto& client : m_clients) {
      EXPECT_EQ(0u, client->account().wrong);
    }
  }
  uint64_t timedOut = 0;
  for (size_t i = 0; i < kClients; ++i) {
    const CallAccount& account = m_clients[i]->account();
    EXPECT_TRUE(becomesTrue([&] { return descriptorCount(m_clients[i]->pid()) <= m_descriptors[i]; }));
    EXPECT_EQ(0, m_clients[i]->end());
    EXPECT_EQ(account.sent, endsOf(account));
    EXPECT_EQ(0u, account.wrong);
    EXPECT_GT(account.refused, 0u);
    timedOut += account.timedOut;
  }
  EXPECT_GT(timedOut, 0u);
  std::cout << timedOut << " requests have timed out in " << rounds << " rounds\n";
  endCore(*m_core);
}

}  // namespace
}  // namespace KelpTest
