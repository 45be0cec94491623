// A process that writes or restores its preferences, time after time, is killed at any moment, while another one reads
// them. tests/pref kills a writer at each of its system calls; here it is killed between and inside of them.
#include <errno.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <signal.h>

#include <atomic>
#include <iostream>
#include <memory>
#include <string>

#include "AppPrefBinary.h"
#include "AppPrefInteger.h"
#include "AppPrefList.h"
#include "crcCalculator.h"
#include "ipc/IpcTestSupport.h"
#include "kill/KillRounds.h"
#include "pref/PrefFiles.h"
#include "support/CallFaults.h"
#include "support/FileStatus.h"
#include "support/TextFile.h"

namespace KelpTest {
namespace {

using Kelp::AppPrefList;

constexpr std::chrono::milliseconds kLongestLife{5};
constexpr char kSource[] = "/tmp/source.json";
const char* const kSavedPaths[] = {"/tmp/saved0.json", "/tmp/saved1.json"};

// The number of a file follows from its content, and its content from the number.
void setNumber(AppPrefList& list, int number) {
  EXPECT_EQ(list.setInteger("integer", number), 0);
  const int letter = 'a' + number % 26;
  EXPECT_EQ(list.setBinary("binary", std::string(static_cast<size_t>(number % 7) * 4000, static_cast<char>(letter))),
            0);
}

AppPrefList makeList(int number) {
  AppPrefList list(kSource, false, 0);
  setNumber(list, number);
  return list;
}

std::string textOf(const AppPrefList& list) {
  std::string text;
  EXPECT_TRUE(list.getAppPrefJsonStringForCRC(text));
  return text;
}

std::string savedForm(const std::string& text) {
  const unsigned crc = Kelp::crcCalculator::getCRC(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  return "{\"appPreferenceCrc\":\"" + std::to_string(crc) + "\"," + text.substr(1);
}

// What the processes tell about themselves.
struct Progress {
  std::atomic<int> begun{0};  // the number of the file that is being written
  std::atomic<int> done{0};   // the number of the file that has been written
  std::atomic<int> reads{0};
  std::atomic<int> badReads{0};
};

class PreferenceKillTest : public testing::Test {
 protected:
  PreferenceKillTest() {
    writeText(kSource, allTypesJson());
    writeText(kPrefPath, textOf(makeList(0)));
    for (int i = 0; i < 2; ++i) {
      writeText(kSavedPaths[i], savedForm(textOf(makeList(i))));
    }
  }

  // Begins a change with each number that follows, until it is killed.
  int writeForever() const {
    AppPrefList list(kPrefPath, false, 0);
    bool isWell = !list.hasError();
    for (int number = m_progress->done + 1; isWell; ++number) {
      setNumber(list, number);
      m_progress->begun = number;
      isWell = list.writeFile(kPrefPath) == 0;
      m_progress->done = number;
    }
    return 1;
  }

  int restoreForever() const {
    bool isWell = true;
    for (int number = m_progress->done + 1; isWell; ++number) {
      AppPrefList list(kPrefPath, false, 0);
      m_progress->begun = number;
      isWell = !list.hasError() && list.AppPrefRestore(kSavedPaths[number % 2], nullptr) == 0;
      m_progress->done = number;
    }
    return 1;
  }

  // Another process, which finds the file whole whenever it looks.
  int readForever() const {
    for (;;) {
      const AppPrefList list(kPrefPath, false, 0);
      const bool isWhole = !list.hasError() && textOf(list) == textOf(makeList(numberOf(list)));
      m_progress->badReads += isWhole ? 0 : 1;
      ++m_progress->reads;
    }
  }

  static int numberOf(const AppPrefList& list) {
    return static_cast<int>(list.getAppPrefInteger("integer")->getValue());
  }

  // `fileOf` says which file is there when the change of a number is done.
  void killInRounds(const std::function<int()>& change, const std::function<int(int)>& fileOf) {
    ChildProcess reader([this] { return readForever(); });
    ASSERT_TRUE(becomesTrue([&] { return m_progress->reads > 0; }));
    const size_t readersDescriptors = descriptorCount(reader.pid());
    const int rounds = killRounds(150);
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
      SCOPED_TRACE("round " + std::to_string(round));
      killOneRound(change);
      expectOldOrNew(fileOf);
      const int reads = m_progress->reads;
      EXPECT_TRUE(becomesTrue([&] { return m_progress->reads > reads + 1; }));
      EXPECT_EQ(0, m_progress->badReads);
    }
    EXPECT_TRUE(becomesTrue([&] { return descriptorCount(reader.pid()) <= readersDescriptors; }));
    expectNextProcessLeavesNothing();
    std::cout << m_kills[0] << " of " << rounds << " kills came in the middle of a change\n";
    EXPECT_GT(m_kills[0], m_kills[1]);
  }

  // To sync takes much longer than all else: in most of the rounds it is left out, so that they end elsewhere. To a
  // process that is killed it makes no difference.
  void killOneRound(const std::function<int()>& change) {
    const int before = m_progress->done;
    m_progress->begun = before;
    const bool isSynced = m_moments.pick(4) == 0;
    ChildProcess victim([&] {
      const auto noSync = isSynced ? nullptr : std::make_unique<CallFault>(Call::Sync, EIO, 0, INT_MAX);
      return change();
    });
    EXPECT_TRUE(becomesTrue([&] { return m_progress->begun > before; }));
    m_moments.pass(kLongestLife);
    victim.kill();
    EXPECT_EQ(-SIGKILL, victim.wait());
    m_kills[m_progress->begun == m_progress->done] += 1;
  }

  void expectOldOrNew(const std::function<int(int)>& fileOf) {
    const std::string text = readText(kPrefPath);
    const bool isNew = text == textOf(makeList(fileOf(m_progress->begun)));
    EXPECT_TRUE(isNew || text == textOf(makeList(fileOf(m_progress->done)))) << text.substr(0, 4000);
    m_progress->done.store(isNew ? m_progress->begun : m_progress->done);
  }

  static void expectNextProcessLeavesNothing() {
    EXPECT_EQ(0, makeList(3).writeFile(kPrefPath));
    EXPECT_FALSE(exists(std::string(kPrefPath) + "~"));
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(savedForm(textOf(makeList(i))), readText(kSavedPaths[i]));
    }
  }

  const Shared<Progress> m_progress;
  Moments m_moments;
  int m_kills[2] = {0, 0};  // in the middle of a change, and between two
};

TEST_F(PreferenceKillTest, AKilledWriterLeavesTheWholeOldOrTheWholeNewFile) {
  killInRounds([this] { return writeForever(); }, [](int number) { return number; });
}

TEST_F(PreferenceKillTest, AKilledRestoreLeavesTheWholeOldOrTheWholeNewFile) {
  killInRounds([this] { return restoreForever(); }, [](int number) { return number % 2; });
}

}  // namespace
}  // namespace KelpTest
