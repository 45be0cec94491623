#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "AppPrefList.h"
#include "pref/PrefFiles.h"

namespace {

using Kelp::AppPrefList;
using KelpTest::allTypesJson;
using KelpTest::kAllTypesWritten;
using KelpTest::kPrefPath;
using KelpTest::readText;
using KelpTest::writeText;

constexpr int kNotPermitted = 77;
constexpr int kSyscallStop = SIGTRAP | 0x80;
constexpr char kSource[] = "/tmp/source.json";

// A child process that writes the list and stops at the entry and at the exit of each of its system calls.
class Writer {
 public:
  explicit Writer(const AppPrefList& list) : m_pid(fork()), m_status(0) {
    if (m_pid == 0) {
      write(list);
    }
    waitpid(m_pid, &m_status, 0);
    if (!WIFSTOPPED(m_status)) {
      return;
    }
    ptrace(PTRACE_SETOPTIONS, m_pid, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  }

  ~Writer() {
    if (WIFSTOPPED(m_status)) {
      killIt();
    }
  }

  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  bool isPermitted() const { return !WIFEXITED(m_status) || WEXITSTATUS(m_status) != kNotPermitted; }

  // Lets it run to its next entry or exit of a system call. False when it has ended instead.
  bool runToNextStop() {
    int signal = 0;
    do {
      ptrace(PTRACE_SYSCALL, m_pid, nullptr, signal);
      waitpid(m_pid, &m_status, 0);
      signal = WIFSTOPPED(m_status) && WSTOPSIG(m_status) != kSyscallStop ? WSTOPSIG(m_status) : 0;
    } while (signal != 0);
    return WIFSTOPPED(m_status);
  }

  // The number of the system call at whose entry it stands, or -1 when it does not stand at an entry.
  long enteredCall() const {
    __ptrace_syscall_info info = {};
    ptrace(PTRACE_GET_SYSCALL_INFO, m_pid, reinterpret_cast<void*>(sizeof info), &info);
    return info.op == PTRACE_SYSCALL_INFO_ENTRY ? static_cast<long>(info.entry.nr) : -1;
  }

  void killIt() {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, &m_status, 0);
  }

  // Whether writeFile() came to its end and returned 0.
  bool hasWritten() const { return WIFEXITED(m_status) && WEXITSTATUS(m_status) == 0; }

 private:
  [[noreturn]] static void write(const AppPrefList& list) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
      _exit(kNotPermitted);
    }
    raise(SIGSTOP);
    _exit(list.writeFile(kPrefPath));
  }

  pid_t m_pid;
  int m_status;
};

AppPrefList loadNewList() {
  writeText(kSource, allTypesJson());
  return AppPrefList(kSource, false, 0);
}

// The file of before: the same items with other values.
std::string makeOldFile() {
  AppPrefList list = loadNewList();
  EXPECT_EQ(list.setString("string", std::string(1000, 'o')), 0);
  EXPECT_EQ(list.writeFile(kPrefPath), 0);
  return readText(kPrefPath);
}

// What became of a write that was killed at its n-th stop.
enum class Outcome { Old, New, Broken, Ended, NotPermitted };

Outcome writeAndKillAtStop(const AppPrefList& list, int stop, const std::string& oldText) {
  writeText(kPrefPath, oldText);
  unlink((std::string(kPrefPath) + "~").c_str());
  Writer writer(list);
  if (!writer.isPermitted()) {
    return Outcome::NotPermitted;
  }
  for (int i = 0; i < stop; ++i) {
    if (!writer.runToNextStop()) {
      EXPECT_TRUE(writer.hasWritten());
      EXPECT_EQ(readText(kPrefPath), kAllTypesWritten);
      return Outcome::Ended;
    }
  }
  writer.killIt();
  const std::string text = readText(kPrefPath);
  if (text == oldText) {
    return Outcome::Old;
  }
  return text == kAllTypesWritten ? Outcome::New : Outcome::Broken;
}

// Whatever the killed process left, the next one loads what is there, changes it and writes it.
void expectNextProcessWorks() {
  AppPrefList list(kPrefPath, false, 0);
  EXPECT_FALSE(list.hasError());
  EXPECT_EQ(list.setInteger("integer", 7), 0);
  EXPECT_EQ(list.writeFile(kPrefPath), 0);
  const AppPrefList again(kPrefPath, false, 0);
  EXPECT_FALSE(again.hasError());
  EXPECT_EQ(again.getAppPref("integer")->getValueByString(), "7");
  EXPECT_FALSE(KelpTest::hasFile(std::string(kPrefPath) + "~"));
}

TEST(AppPrefListKillTest, KilledAtAnySystemCallAWriteLeavesTheWholeOldOrTheWholeNewFile) {
  const std::string oldText = makeOldFile();
  const AppPrefList list = loadNewList();
  std::vector<Outcome> outcomes;
  do {
    outcomes.push_back(writeAndKillAtStop(list, static_cast<int>(outcomes.size()) + 1, oldText));
    if (outcomes.back() == Outcome::NotPermitted) {
      GTEST_SKIP() << "a process may not trace its own child here";
    }
    ASSERT_NE(outcomes.back(), Outcome::Broken) << "killed at stop " << outcomes.size();
    expectNextProcessWorks();
  } while (outcomes.back() != Outcome::Ended);

  outcomes.pop_back();
  const auto olds = std::count(outcomes.begin(), outcomes.end(), Outcome::Old);
  const auto news = std::count(outcomes.begin(), outcomes.end(), Outcome::New);
  EXPECT_GE(olds, 9) << "open, write, close and sync, entry and exit, and the entry of rename";
  EXPECT_GE(news, 5) << "the exit of rename, then chmod and sync, entry and exit";
  EXPECT_TRUE(std::is_sorted(outcomes.begin(), outcomes.end())) << "new, and old again";
}

#if defined(SYS_rename) && defined(SYS_chmod)
TEST(AppPrefListKillTest, StepsOfAWriteComeInTheirOrder) {
  makeOldFile();
  const AppPrefList list = loadNewList();
  const std::vector<long> steps = {SYS_openat, SYS_write, SYS_close, SYS_sync, SYS_rename, SYS_chmod, SYS_sync};
  Writer writer(list);
  if (!writer.isPermitted()) {
    GTEST_SKIP() << "a process may not trace its own child here";
  }
  std::vector<long> calls;
  while (writer.runToNextStop()) {
    const long call = writer.enteredCall();
    if (std::find(steps.begin(), steps.end(), call) != steps.end()) {
      calls.push_back(call);
    }
  }
  EXPECT_TRUE(writer.hasWritten());
  EXPECT_EQ(calls, steps);
}
#endif

}  // namespace
