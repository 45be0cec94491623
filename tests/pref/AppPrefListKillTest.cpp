#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "AppPrefList.h"
#include "pref/PrefFiles.h"
#include "support/FileStatus.h"
#include "support/TextFile.h"

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

// The system calls that rename a file.
bool isRename(long call) {
#ifdef SYS_rename
  if (call == SYS_rename) {
    return true;
  }
#endif
#ifdef SYS_renameat
  if (call == SYS_renameat) {
    return true;
  }
#endif
  return call == SYS_renameat2;
}

// A child process that writes the list and stops at the entry and at the exit of each of its system calls.
class Writer {
 public:
  explicit Writer(const AppPrefList& list) : m_pid(fork()), m_status(0), m_call(-1), m_isEntry(false), m_renames(0) {
    if (m_pid == 0) {
      write(list);
    }
    waitpid(m_pid, &m_status, 0);
    if (WIFSTOPPED(m_status)) {
      ptrace(PTRACE_SETOPTIONS, m_pid, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    }
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
    if (!WIFSTOPPED(m_status)) {
      return false;
    }
    noteStop();
    return true;
  }

  // The system call at whose entry or exit it stands.
  long call() const { return m_call; }
  bool isEntry() const { return m_isEntry; }

  // Whether it has renamed a file.
  bool hasRenamed() const { return m_renames > 0; }

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

  void noteStop() {
    __ptrace_syscall_info info = {};
    ptrace(PTRACE_GET_SYSCALL_INFO, m_pid, reinterpret_cast<void*>(sizeof info), &info);
    m_isEntry = info.op == PTRACE_SYSCALL_INFO_ENTRY;
    if (m_isEntry) {
      m_call = static_cast<long>(info.entry.nr);
    } else if (isRename(m_call) && info.exit.rval == 0) {
      ++m_renames;
    }
  }

  pid_t m_pid;
  int m_status;
  long m_call;  // -1 before the first entry
  bool m_isEntry;
  int m_renames;
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

// Where a writer stands: at the entry or the exit of the n-th call of a system call. A plain count of stops would not
// do: how often memory is asked for differs from run to run, most of all with a sanitizer.
struct Stop {
  long call;
  int occurrence;
  bool isEntry;
};

bool operator==(const Stop& left, const Stop& right) {
  return left.call == right.call && left.occurrence == right.occurrence && left.isEntry == right.isEntry;
}

// Runs the writer to its next stop, which goes behind the others. False when the writer has ended instead.
bool runToNextStop(Writer& writer, std::vector<Stop>& stops) {
  if (!writer.runToNextStop()) {
    return false;
  }
  const auto isSame = [&](const Stop& stop) { return stop.call == writer.call() && stop.isEntry == writer.isEntry(); };
  const auto before = std::count_if(stops.begin(), stops.end(), isSame);
  stops.push_back({writer.call(), static_cast<int>(before) + 1, writer.isEntry()});
  return true;
}

// Lets a write of the list come to its end. Returns all its stops.
std::vector<Stop> recordStops(const AppPrefList& list) {
  std::vector<Stop> stops;
  Writer writer(list);
  while (runToNextStop(writer, stops)) {
  }
  EXPECT_TRUE(writer.hasWritten());
  EXPECT_EQ(readText(kPrefPath), kAllTypesWritten);
  return stops;
}

// Starts a write of the list over a file of `oldText` and kills it at `killAt`. False when it never came there.
bool writeAndKillAt(const AppPrefList& list, const Stop& killAt, const std::string& oldText) {
  writeText(kPrefPath, oldText);
  unlink((std::string(kPrefPath) + "~").c_str());
  std::vector<Stop> stops;
  Writer writer(list);
  while (runToNextStop(writer, stops)) {
    if (stops.back() == killAt) {
      writer.killIt();
      EXPECT_EQ(readText(kPrefPath), writer.hasRenamed() ? kAllTypesWritten : oldText)
          << "killed at the " << (killAt.isEntry ? "entry" : "exit") << " of system call " << killAt.call;
      return true;
    }
  }
  return false;
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
  EXPECT_FALSE(KelpTest::exists(std::string(kPrefPath) + "~"));
}

bool isTracingPermitted(const AppPrefList& list) {
  return Writer(list).isPermitted();
}

#if defined(SYS_rename) && defined(SYS_chmod)
const std::vector<long> kSteps = {SYS_openat, SYS_write, SYS_close, SYS_sync, SYS_rename, SYS_chmod, SYS_sync};
#else
const std::vector<long> kSteps = {SYS_openat, SYS_write, SYS_close, SYS_sync, SYS_renameat, SYS_fchmodat, SYS_sync};
#endif

bool isStep(long call) {
  return std::find(kSteps.begin(), kSteps.end(), call) != kSteps.end();
}

TEST(AppPrefListKillTest, KilledAtAnySystemCallAWriteLeavesTheWholeOldOrTheWholeNewFile) {
  const std::string oldText = makeOldFile();
  const AppPrefList list = loadNewList();
  if (!isTracingPermitted(list)) {
    GTEST_SKIP() << "a process may not trace its own child here";
  }
  const std::vector<Stop> stops = recordStops(list);
  for (const Stop& stop : stops) {
    const bool wasKilled = writeAndKillAt(list, stop, oldText);
    EXPECT_TRUE(wasKilled || !isStep(stop.call)) << "system call " << stop.call << " was not made again";
    expectNextProcessWorks();
    ASSERT_FALSE(HasFailure());
  }
}

TEST(AppPrefListKillTest, StepsOfAWriteComeInTheirOrder) {
  makeOldFile();
  const AppPrefList list = loadNewList();
  if (!isTracingPermitted(list)) {
    GTEST_SKIP() << "a process may not trace its own child here";
  }
  std::vector<long> entered;
  std::vector<long> left;
  for (const Stop& stop : recordStops(list)) {
    if (isStep(stop.call)) {
      (stop.isEntry ? entered : left).push_back(stop.call);
    }
  }
  EXPECT_EQ(entered, kSteps);
  EXPECT_EQ(left, kSteps);
}

}  // namespace
