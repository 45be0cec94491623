// Applications send to a core as fast as it takes their messages, and the core sends an order back for each: one of
// them is killed at any moment and started again under its old address. Core and applications are made of the library
// alone.
#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "EventLooperMultiWait.h"
#include "IpcAddressApp.h"
#include "IpcAddressCore.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "ipc/IpcTestSupport.h"
#include "kill/KillRounds.h"
#include "support/FileStatus.h"

namespace KelpTest {
namespace {

using Kelp::CommonReturnCode_Ok;
using Kelp::IpcEventSender;

constexpr int kApplications = 4;
constexpr std::chrono::milliseconds kLongestLife{3};

struct Head {
  uint32_t application;
  uint32_t life;    // how often the application has been started before
  uint32_t number;  // of the message in this life
};

// Sizes up to the largest there is; every byte follows from the head.
std::string messageOf(const Head& head) {
  uint32_t word = (head.application + 1) * 2654435761u + head.life * 40503u + head.number * 2246822519u;
  std::string bytes(sizeof(head) + (word >> 8u) % (4064 - sizeof(head) + 1), '\0');
  memcpy(&bytes[0], &head, sizeof(head));
  for (size_t i = sizeof(head); i < bytes.size(); ++i) {
    word = word * 1664525u + 1013904223u;
    bytes[i] = static_cast<char>(word >> 24u);
  }
  return bytes;
}

// False when the bytes are no message, or not as it was sent.
bool readMessage(const std::string& bytes, Head& head) {
  if (bytes.size() < sizeof(head)) {
    return false;
  }
  memcpy(&head, bytes.data(), sizeof(head));
  return bytes == messageOf(head);
}

bool isBehind(const Head& head, const Head& other) {
  return head.life > other.life || (head.life == other.life && head.number > other.number);
}

// What the processes tell about themselves.
struct Board {
  std::atomic<bool> isCoreUp{false};
  std::atomic<int> torn{0};       // messages and orders that were not as they had been sent
  std::atomic<int> misplaced{0};  // messages that were not their application's next one, orders in disorder
  std::atomic<unsigned> messages[kApplications] = {};  // that the core has got, in all lives
  std::atomic<unsigned> lives[kApplications] = {};     // whose messages the core has got
  std::atomic<unsigned> orders[kApplications] = {};    // that have been taken, in all lives
  std::atomic<unsigned> untaken{0};                    // orders that could not be sent
};

// Sends every message back to its application as an order: to one half of them with a sender that is kept as long as it
// can send, to the other half with a new one each time.
class Core : public Kelp::IpcEventReceiver::OneWayRequestHandler {
 public:
  explicit Core(Board& board) : m_board(board), m_receiver(m_address) {
    m_receiver.setOneWayRequestHandler(Kelp::IpcAddressType_App, *this);
    m_looper.addEventReceiver(m_receiver);
  }
  ~Core() override { m_looper.removeEventReceiver(m_receiver); }
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  int run() {
    m_board.isCoreUp = true;
    m_looper.runEventLoop();
    return 1;  // nobody tells it to end
  }

  void handleOneWayRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataOneWayRequest& data, int dataSize) override {
    std::string bytes = textOf(data, dataSize);
    Head head;
    if (!readMessage(bytes, head) || head.application >= kApplications) {
      ++m_board.torn;
      return;
    }
    Head& last = m_last[head.application];
    const bool isNext =
        head.life == last.life ? head.number == last.number + 1 : head.life > last.life && head.number == 0;
    m_board.misplaced += isNext ? 0 : 1;
    last = head;
    m_board.lives[head.application] = head.life;
    ++m_board.messages[head.application];
    m_board.untaken += sendOrder(srcIpcAddress, head.application, bytes) ? 0 : 1;
  }

 private:
  bool sendOrder(const Kelp::IpcAddress& address, uint32_t application, std::string& bytes) {
    std::unique_ptr<IpcEventSender>& kept = m_kept[application];
    if (kept == nullptr) {
      kept = std::make_unique<IpcEventSender>(address, m_address);
    }
    const bool isSent = kept->sendOneWayRequest(payload<Kelp::IpcDataOneWayRequest>(bytes),
                                                static_cast<int>(bytes.size())) == CommonReturnCode_Ok;
    if (!isSent || application % 2 == 0) {
      kept.reset();
    }
    return isSent;
  }

  Board& m_board;
  const Kelp::IpcAddressCore m_address;
  Kelp::EventLooperMultiWait m_looper;
  Kelp::IpcEventReceiver m_receiver;
  std::map<uint32_t, Head> m_last;
  std::map<uint32_t, std::unique_ptr<IpcEventSender>> m_kept;
};

Kelp::IpcAddressApp addressOf(int application) {
  return Kelp::IpcAddressApp(application + 1, 1);
}

class Application : public Kelp::IpcEventReceiver::OneWayRequestHandler {
 public:
  // What another life has left of its FIFO is removed: a message may be in it of which it had read a part.
  Application(Board& board, int application, unsigned life)
      : m_board(board), m_next{static_cast<uint32_t>(application), life, 0} {
    const Kelp::IpcAddressApp address = addressOf(application);
    unlink(address.getFifoFilePath().c_str());
    m_receiver = std::make_unique<Kelp::IpcEventReceiver>(address);
    m_receiver->setOneWayRequestHandler(Kelp::IpcAddressType_Core, *this);
  }

  // Sends and takes orders for ever.
  [[noreturn]] void run() {
    IpcEventSender toCore(Kelp::IpcAddressCore(), *m_receiver);
    for (;; ++m_next.number) {
      std::string bytes = messageOf(m_next);
      auto& data = payload<Kelp::IpcDataOneWayRequest>(bytes);
      while (toCore.sendOneWayRequest(data, static_cast<int>(bytes.size())) != CommonReturnCode_Ok) {
        takeOrder();
        sched_yield();
      }
      takeOrder();
    }
  }

  // The core may not be through yet with what another life has sent.
  void handleOneWayRequest(Kelp::IpcAddress& /*srcIpcAddress*/, Kelp::IpcDataOneWayRequest& data,
                           int dataSize) override {
    Head head;
    if (!readMessage(textOf(data, dataSize), head) || head.application != m_next.application) {
      ++m_board.torn;
      return;
    }
    m_board.misplaced += !isBehind(head, m_next) && isBehind(head, m_last) ? 0 : 1;
    m_last = head;
    ++m_board.orders[head.application];
  }

 private:
  void takeOrder() {
    pollfd input = {m_receiver->getFd(), POLLIN, 0};
    if (poll(&input, 1, 0) == 1) {
      m_receiver->receiveAndExecuteEvent();
    }
  }

  Board& m_board;
  Head m_next;
  Head m_last = {};
  std::unique_ptr<Kelp::IpcEventReceiver> m_receiver;
};

class ApplicationKillTest : public testing::Test {
 protected:
  ApplicationKillTest() : m_core([this] { return Core(*m_board).run(); }, kLongestTest) {
    EXPECT_TRUE(becomesTrue([this] { return m_board->isCoreUp.load(); }));
    for (int application = 0; application < kApplications; ++application) {
      m_applications.push_back(startApplication(application, 1));
    }
    EXPECT_TRUE(becomesTrue([this] { return haveAllGoneOn(std::vector<unsigned>(kApplications, 0)); }));
  }

  std::unique_ptr<ChildProcess> startApplication(int application, unsigned life) {
    return std::make_unique<ChildProcess>(
        [this, application, life]() -> int { Application(*m_board, application, life).run(); }, kLongestTest);
  }

  // Messages have come from all applications since these, and orders are taken.
  bool haveAllGoneOn(const std::vector<unsigned>& since) const {
    for (size_t application = 0; application < kApplications; ++application) {
      if (m_board->messages[application] <= since[application]) {
        return false;
      }
    }
    return true;
  }

  std::vector<unsigned> messages() const {
    return std::vector<unsigned>(std::begin(m_board->messages), std::end(m_board->messages));
  }

  // Kills an application and starts it again.
  void killOneRound() {
    const int victim = m_moments.pick(kApplications);
    const unsigned life = m_board->lives[victim];
    m_moments.pass(kLongestLife);
    m_applications[static_cast<size_t>(victim)]->kill();
    EXPECT_EQ(-SIGKILL, m_applications[static_cast<size_t>(victim)]->wait());
    EXPECT_TRUE(exists(addressOf(victim).getFifoFilePath()));
    const std::vector<unsigned> before = messages();
    m_applications[static_cast<size_t>(victim)] = startApplication(victim, life + 1);
    EXPECT_TRUE(becomesTrue([&] { return m_board->lives[victim] == life + 1 && haveAllGoneOn(before); }));
    const unsigned orders = m_board->orders[victim];
    EXPECT_TRUE(becomesTrue([&] { return m_board->orders[victim] > orders; }));
  }

  static constexpr unsigned kLongestTest = 7200;  // seconds

  const Shared<Board> m_board;
  Moments m_moments;
  ChildProcess m_core;
  std::vector<std::unique_ptr<ChildProcess>> m_applications;
};

TEST_F(ApplicationKillTest, TheOthersAndTheCoreGoOnWithWholeMessages) {
  const size_t descriptors = descriptorCount(m_core.pid());
  const int rounds = killRounds(50);
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    killOneRound();
    EXPECT_TRUE(becomesTrue([&] { return descriptorCount(m_core.pid()) <= descriptors; }));
    EXPECT_EQ(0, m_board->torn);
    EXPECT_EQ(0, m_board->misplaced);
  }
  EXPECT_GT(m_board->untaken, 0u);
}

}  // namespace
}  // namespace KelpTest
