#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "AppPrefList.h"
#include "pref/PrefFiles.h"
#include "support/FileStatus.h"
#include "support/TextFile.h"
#include "support/TracedProcess.h"

namespace {

using Kelp::AppPrefList;
using KelpTest::allTypesJson;
using KelpTest::isTracingPermitted;
using KelpTest::kAllTypesWritten;
using KelpTest::kPrefPath;
using KelpTest::readText;
using KelpTest::TracedProcess;
using KelpTest::writeText;

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

// A child process that writes the list and stops at each of its system calls.
class Writer {
 public:
  explicit Writer(const AppPrefList& list) : m_process([&] { return list.writeFile(kPrefPath); }), m_renames(0) {}

  // Lets it run to its next entry or exit of a system call. False when it has ended instead.
  bool runToNextStop() {
    if (!m_process.runToNextStop()) {
      return false;
    }
    if (!m_process.isEntry() && isRename(m_process.call()) && m_process.result() == 0) {
      ++m_renames;
    }
    return true;
  }

  long call() const { return m_process.call(); }
  bool isEntry() const { return m_process.isEntry(); }

  // Whether it has renamed a file.
  bool hasRenamed() const { return m_renames > 0; }

  void killIt() { m_process.killIt(); }

  // Whether writeFile() came to its end and returned 0.
  bool hasWritten() const { return m_process.hasSucceeded(); }

 private:
  TracedProcess m_process;
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
  if (!isTracingPermitted()) {
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
  if (!isTracingPermitted()) {
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
