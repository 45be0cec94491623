// API clients of the example core are killed while their request is under way, and now and then one at any moment of
// its life.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "FilePathManager.h"
#include "examples/ExamplePrograms.h"
#include "kill/KillRounds.h"
#include "kill/SteadyCaller.h"

namespace KelpTest {
namespace {

using Kelp::FilePathManager;
using std::chrono::microseconds;
using std::chrono::steady_clock;

constexpr char kForm[] = "application/x-www-form-urlencoded";
constexpr char kMultipart[] = "multipart/form-data; boundary=x";
constexpr int kTimeoutMs = 20000;
const std::string kPackageText(200000, 'A');  // as Base64 three quarters of it in zeros

std::string partNamed(const std::string& name, const std::string& data) {
  return "--x\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + data + "\r\n";
}

struct Call {
  std::string body;
  const char* contentType;
};

// Requests and answers that fit in a message and such as travel in files; one that only reads, one that changes a file
// and one that a worker thread deals with.
const std::vector<Call>& calls() {
  static const std::vector<Call> s_calls = {
      {"methodName=getApplicationList", kForm},
      {"methodName=getPreferences&installId=00000001", kForm},
      {"methodName=setPreference&installId=00000001&prefName=picture&prefType=Binary&prefValue=" +
           std::string(20000, 'A'),
       kForm},
      {"methodName=setPreference&installId=00000001&prefName=picture&prefType=Binary&prefValue=" +
           std::string(24000, 'B'),
       kForm},
      {partNamed("methodName", "updateApplication") + partNamed("installId", "00000002") +
           partNamed("applicationPackage", kPackageText) + "--x--\r\n",
       kMultipart},
  };
  return s_calls;
}

// How many bytes wait in the core's FIFO.
int bytesForCore() {
  const int fd = open(FilePathManager::getCoreFifoPath().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  int count = 0;
  EXPECT_EQ(0, ioctl(fd, FIONREAD, &count));
  close(fd);
  return count;
}

class ClientKillTest : public ExamplesTest {
 protected:
  ClientKillTest() {
    setRunningTime(1);
    m_others.push_back(std::make_unique<SteadyCaller>(1, kTimeoutMs, true));
    m_others.push_back(std::make_unique<SteadyCaller>(2, kTimeoutMs, false));
    EXPECT_TRUE(becomesTrue([this] { return haveOthersGoneOnSince({0, 0}); }));
    m_descriptors = descriptorCount(m_core->pid());
  }

  std::vector<uint64_t> answers() const { return {m_others[0]->account().answered, m_others[1]->account().answered}; }

  bool haveOthersGoneOnSince(const std::vector<uint64_t>& answered) const {
    return m_others[0]->hasGoneOnSince(answered[0]) && m_others[1]->hasGoneOnSince(answered[1]);
  }

  std::unique_ptr<ClientProcess> startClient() {
    const Call& call = calls()[static_cast<size_t>(m_moments.pick(static_cast<int>(calls().size())))];
    return std::make_unique<ClientProcess>(call.body, postVariables(call.body, call.contentType));
  }

  static int killClient(ClientProcess& client) {
    client.sendSignal(SIGKILL);
    return client.waitForReply().exitStatus;
  }

  // Anywhere between its start and, roughly, its end.
  void killAtAnyMoment() {
    const auto client = startClient();
    m_moments.pass(m_longestCall);
    killClient(*client);
  }

  // A core that is stopped has not answered: another's request and the client's wait in its FIFO. The others are
  // stopped as well, so that what comes into the FIFO then is the client's.
  void killWithRequestPending() {
    m_core->stop();
    EXPECT_TRUE(becomesTrue([] { return bytesForCore() > 0; }));
    for (const auto& other : m_others) {
      other->stop();
    }
    const int before = bytesForCore();
    const auto client = startClient();
    EXPECT_TRUE(becomesTrue([&] { return bytesForCore() > before; }));
    m_moments.pass(microseconds(500));
    EXPECT_EQ(SIGKILL, killClient(*client));
    for (const auto& other : m_others) {
      other->goOn();
    }
    m_core->sendSignal(SIGCONT);
  }

  // A client that makes one call after the other, without the start of a program between them. Returns whether it was
  // waiting for an answer.
  bool killBusyCaller() {
    SteadyCaller caller(static_cast<unsigned>(m_moments.pick(1000)), kTimeoutMs, m_moments.pick(2) == 0);
    EXPECT_TRUE(becomesTrue([&] { return caller.account().answered > 0; }));
    m_moments.pass(microseconds(2000));
    EXPECT_EQ(-SIGKILL, caller.kill());
    EXPECT_EQ(0u, caller.account().wrong);
    return caller.isWaiting();
  }

  // One client with a request pending; some others besides, which do not count.
  void killOneRound() {
    if (m_moments.pick(2) == 0) {
      killWithRequestPending();
    } else {
      while (!killBusyCaller() && !HasFailure()) {
        ++m_extraKills;
      }
    }
    if (m_moments.pick(2) == 0) {
      killAtAnyMoment();
      ++m_extraKills;
    }
  }

  void expectAllIsWell() {
    const std::vector<uint64_t> before = answers();
    EXPECT_TRUE(becomesTrue([&] { return haveOthersGoneOnSince(before); }));
    for (const auto& other : m_others) {
      EXPECT_EQ(0u, other->account().wrong + other->account().timedOut + other->account().refused);
    }
    EXPECT_EQ(200, callApi("methodName=getStatus").httpStatus);
    EXPECT_TRUE(becomesTrue([this] { return descriptorCount(m_core->pid()) <= m_descriptors; }));
    const std::string package = contentOf(FilePathManager::getAppSetupPath("radio") + "/package");
    EXPECT_TRUE(package.empty() || package == std::string(kPackageText.size() / 4 * 3, '\0'));
  }

  std::unique_ptr<CoreProcess> m_core = std::make_unique<CoreProcess>();
  std::vector<std::unique_ptr<SteadyCaller>> m_others;
  size_t m_descriptors;
  Moments m_moments;
  microseconds m_longestCall{1};
  int m_extraKills = 0;
};

TEST_F(ClientKillTest, TheCoreAndTheOtherClientsGoOn) {
  const auto start = steady_clock::now();
  callApi(calls().back().body, kMultipart);
  m_longestCall = std::chrono::duration_cast<microseconds>(steady_clock::now() - start) * 3 / 2;
  const int rounds = killRounds(40);
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    killOneRound();
    expectAllIsWell();
  }
  std::cout << rounds << " clients have been killed with a request pending, " << m_extraKills << " besides\n";
  for (const auto& other : m_others) {
    EXPECT_EQ(0, other->end());
    EXPECT_EQ(other->account().sent, endsOf(other->account()));
  }
  m_core->sendSignal(SIGTERM);
  EXPECT_EQ(0, m_core->waitForEnd());
  // What the killed clients have left goes when a core starts, or at the next minute.
  CoreProcess core;
  EXPECT_EQ(std::vector<std::string>({"fifocore"}), filesIn(FilePathManager::getCoreTmpPath()));
  endCore(core);
}

}  // namespace
}  // namespace KelpTest
