#include "kill/SteadyCaller.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <random>
#include <string>

#include "common/WebApi.h"

namespace KelpTest {

namespace {

using KelpExample::Record;

constexpr unsigned kLongestLife = 7200;  // seconds
constexpr uint64_t kEnough = 2;          // answers: the first of them may have been asked for before

Record preferencesOf(int installId) {
  Record request;
  request.putString(KelpExample::kMethodName, "getPreferences");
  request.putHexadecimal(KelpExample::kInstallId, installId);
  return request;
}

Record requestNamed(const char* methodName) {
  Record request;
  request.putString(KelpExample::kMethodName, methodName);
  return request;
}

// The demo's applications are two, with the functions A001 and A002.
bool isRight(const Record& request, const Record& answer) {
  constexpr int kFirstFuncId = 0xA001;
  std::string method;
  request.getString(KelpExample::kMethodName, method);
  int asked = 0;
  int got = 0;
  if (method == "getPreferences") {
    return request.getNumber(KelpExample::kInstallId, asked) && answer.getNumber(KelpExample::kFuncId, got) &&
           got == kFirstFuncId + asked - 1;
  }
  return method != "getStatus" || (answer.getNumber("installedCount", got) && got == 2);
}

}  // namespace

SteadyCaller::SteadyCaller(unsigned seed, int timeoutMs, bool isSenderKept)
    : m_process([=] { return call(seed, timeoutMs, isSenderKept); }, kLongestLife) {}

const CallAccount& SteadyCaller::account() const {
  return m_board->account;
}

pid_t SteadyCaller::pid() const {
  return m_process.pid();
}

bool SteadyCaller::hasGoneOnSince(uint64_t answered) const {
  return m_board->account.answered >= answered + kEnough;
}

bool SteadyCaller::isWaiting() const {
  return account().sent > endsOf(account()) + account().wrong;
}

void SteadyCaller::stop() {
  int status = 0;
  EXPECT_EQ(0, ::kill(pid(), SIGSTOP));
  EXPECT_EQ(pid(), waitpid(pid(), &status, WUNTRACED));
  EXPECT_TRUE(WIFSTOPPED(status));
}

void SteadyCaller::goOn() {
  EXPECT_EQ(0, ::kill(pid(), SIGCONT));
}

int SteadyCaller::kill() {
  m_process.kill();
  return m_process.wait();
}

int SteadyCaller::end() {
  m_board->isToEnd = true;
  return m_process.wait();
}

int SteadyCaller::call(unsigned seed, int timeoutMs, bool isSenderKept) const {
  std::mt19937 random(seed);
  Caller::Conduct conduct;
  conduct.timeoutMs = timeoutMs;
  conduct.isSenderKept = isSenderKept;
  conduct.nextRequest = [&random] {
    const unsigned choice = static_cast<unsigned>(random()) % 4;
    return choice < 2 ? preferencesOf(static_cast<int>(choice) + 1)
                      : requestNamed(choice == 2 ? "getStatus" : "getApplicationList");
  };
  conduct.isRight = isRight;
  conduct.isToEnd = [this] { return m_board->isToEnd.load(); };
  return Caller(conduct, m_board->account).run();
}

}  // namespace KelpTest
