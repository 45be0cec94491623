#include "starvation/Starvation.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <iostream>
#include <sstream>
#include <utility>

namespace KelpTest {

namespace {

bool canFail(Call call) {
  return call != Call::Free && call != Call::Sync && call != Call::Umask;
}

bool isEndedBy(int signal, const Life& life) {
  return WIFSIGNALED(life.status) && WTERMSIG(life.status) == signal;
}

// "Mutex.cpp:67: void Kelp::Mutex::lock(): Assertion `false' failed."
bool hasAsserted(const Ending& ending, const std::string& output) {
  const std::string line = ending.line == 0 ? "" : std::to_string(ending.line) + ": ";
  return output.find(ending.file + ":" + line) != std::string::npos &&
         output.find("Assertion `" + ending.expression + "' failed.") != std::string::npos;
}

// The same wherever the library locks.
std::vector<Ending> endingsOfLock(Call call) {
  switch (call) {
    case Call::MutexInit:
    case Call::MutexAttrInit:
      return {asserts("Mutex.cpp", 41, "false")};
    case Call::MutexDestroy:
      return {asserts("Mutex.cpp", 54, "false")};
    case Call::MutexLock:
      return {asserts("Mutex.cpp", 67, "false")};
    case Call::MutexUnlock:
      return {asserts("Mutex.cpp", 80, "false")};
    default:
      return {};
  }
}

void print(std::ostream& out, const char* heading, const std::vector<LogLine>& lines) {
  if (!lines.empty()) {
    out << "\n    " << heading << ":";
  }
  for (const LogLine& line : lines) {
    out << "\n      " << line;
  }
}

std::string describe(const Ending& ending) {
  std::ostringstream out;
  if (ending.waits) {
    return "waits";
  }
  if (!ending.expression.empty()) {
    out << "assertion " << ending.file << ":" << ending.line << " " << ending.expression;
    return out.str();
  }
  out << "\"" << ending.result << "\", blocks lost: " << ending.lostBlocks
      << ", descriptors lost: " << ending.lostDescriptors;
  print(out, "errors", ending.errors);
  print(out, "errors of the next life", ending.nextErrors);
  return out.str();
}

std::string describe(const Life& life, int blocksOfGood) {
  if (!life.isComplete) {
    return "status " + std::to_string(life.status) + ": " + life.output;
  }
  Ending ending = goesOn(life.result, life.errors);
  ending.nextErrors = life.nextErrors;
  ending.lostBlocks = life.nextBlocks - blocksOfGood;
  ending.lostDescriptors = life.descriptors;
  return (life.hasFailed ? "" : "not reached; ") + describe(ending) + "\n    next: \"" + life.nextResult + "\"" +
         "\n    wrong files: \"" + life.wrongFiles + "\"\n    leaks: " + (life.hasLeaks ? life.output : "none");
}

}  // namespace

Ending Ending::losing(int blocks, int descriptors) const {
  Ending ending = *this;
  ending.lostBlocks = blocks;
  ending.lostDescriptors = descriptors;
  return ending;
}

Ending Ending::loggingLater(const std::vector<LogLine>& lines) const {
  Ending ending = *this;
  ending.nextErrors = lines;
  return ending;
}

Ending waits() {
  Ending ending;
  ending.waits = true;
  return ending;
}

Ending asserts(const std::string& file, int line, const std::string& expression) {
  Ending ending;
  ending.file = file;
  ending.line = line;
  ending.expression = expression;
  return ending;
}

Ending goesOn(const std::string& result, const std::vector<LogLine>& errors) {
  Ending ending;
  ending.result = result;
  ending.errors = errors;
  return ending;
}

Starvation::Starvation(Scenario scenario, std::vector<LogLine> errorsAfterAbort)
    : m_scenario(std::move(scenario)), m_errorsAfterAbort(std::move(errorsAfterAbort)) {}

void Starvation::expect(Call call, const std::vector<Ending>& endings) {
  m_endings[call] = endings;
}

void Starvation::expectOfNothrowNew(const std::vector<Ending>& endings) {
  m_nothrowEndings = endings;
}

Life Starvation::liveWithoutFault() {
  const Life life = live(m_scenario, {Fault::Kind::None, Call::Open, 0});
  EXPECT_TRUE(life.isComplete) << life.output;
  EXPECT_EQ(life.errors, std::vector<LogLine>());
  EXPECT_EQ(life.wrongFiles, "");
  EXPECT_EQ(life.descriptors, 0);
  EXPECT_EQ(life.nextResult, life.result);
  EXPECT_EQ(life.nextErrors, std::vector<LogLine>());
  EXPECT_EQ(life.nextBlocks - life.blocks, m_scenario.lostBlocks);
  EXPECT_FALSE(life.hasLeaks) << life.output;
  return life;
}

void Starvation::failEachCall() {
  m_good = liveWithoutFault();
  int faults = 0;
  for (int number = 0; number <= static_cast<int>(Call::Write); ++number) {
    const auto call = static_cast<Call>(number);
    const int count = m_good.callCounts[static_cast<size_t>(number)];
    if (canFail(call)) {
      failEach(call, count);
      faults += count;
    }
  }
  EXPECT_GT(faults, 0);
  std::cout << faults - m_notReached << " calls have failed in turn\n";
  if (m_scenario.hasThreads) {
    std::cout << m_notReached << " were not reached, because there were fewer calls\n";
  }
}

void Starvation::failEach(Call call, int count) {
  const std::vector<Ending> ofLock = endingsOfLock(call);
  const std::vector<Ending>& endings = ofLock.empty() || count == 0 ? m_endings[call] : ofLock;
  std::vector<bool> happened(endings.size(), false);
  for (int number = 1; number <= count; ++number) {
    const Fault fault = {Fault::Kind::Call, call, number};
    judge(fault, live(m_scenario, fault), endings, happened);
  }
  for (size_t i = 0; i < endings.size(); ++i) {
    EXPECT_TRUE(happened[i]) << "never happened to " << nameOf(call) << ": " << describe(endings[i]);
  }
}

void Starvation::judge(const Fault& fault, const Life& life, const std::vector<Ending>& endings,
                       std::vector<bool>& happened) {
  if (m_scenario.hasThreads && fault.number > 1 && isWithoutFault(life)) {
    ++m_notReached;
    return;
  }
  const auto found =
      std::find_if(endings.begin(), endings.end(), [&](const Ending& ending) { return isAs(ending, life); });
  if (found == endings.end()) {
    std::string expected;
    for (const Ending& ending : endings) {
      expected += "\n  or " + describe(ending);
    }
    ADD_FAILURE() << nameOf(fault) << "\n  " << describe(life, m_good.nextBlocks) << expected;
    return;
  }
  happened[static_cast<size_t>(found - endings.begin())] = true;
  if (!life.isComplete) {
    checkAfterAbort(nameOf(fault));
  }
}

bool Starvation::isWithoutFault(const Life& life) const {
  return life.isComplete && !life.hasFailed && life.errors.empty() && life.result == m_good.result &&
         life.wrongFiles.empty() && life.descriptors == 0 && life.nextResult == m_good.result &&
         life.nextErrors.empty() && life.nextBlocks == m_good.nextBlocks && !life.hasLeaks;
}

// The leak checker is asked only where nothing is lost by intent: it cannot tell what.
bool Starvation::isAs(const Ending& ending, const Life& life) const {
  if (ending.waits) {
    return isEndedBy(SIGALRM, life);
  }
  if (!ending.expression.empty()) {
    return isEndedBy(SIGABRT, life) && hasAsserted(ending, life.output);
  }
  return life.isComplete && life.hasFailed && life.wrongFiles.empty() && life.result == ending.result &&
         life.errors == ending.errors && life.nextResult == m_good.result && life.nextErrors == ending.nextErrors &&
         life.nextBlocks - m_good.nextBlocks == ending.lostBlocks && life.descriptors == ending.lostDescriptors &&
         (ending.lostBlocks > 0 || !life.hasLeaks);
}

bool Starvation::hasAborted(const Life& life) const {
  return isEndedBy(SIGABRT, life) && (life.output.find("std::bad_alloc") != std::string::npos ||
                                      hasAsserted(asserts("RequireMemory.h", 0, "memory != __null"), life.output));
}

void Starvation::checkAfterAbort(const std::string& name) {
  if (m_scenario.checkFiles) {
    EXPECT_EQ(m_scenario.checkFiles(true), "") << "after " << name;
  }
  const Life next = live(m_scenario, {Fault::Kind::None, Call::Open, 0}, false);
  EXPECT_EQ(next.result, m_good.result) << "after " << name;
  EXPECT_EQ(next.wrongFiles, "") << "after " << name;
  for (const LogLine& line : next.errors) {
    EXPECT_TRUE(std::find(m_errorsAfterAbort.begin(), m_errorsAfterAbort.end(), line) != m_errorsAfterAbort.end())
        << "after " << name << ": " << line;
  }
}

void Starvation::failEachNew() {
  m_good = liveWithoutFault();
  std::vector<bool> happened(m_nothrowEndings.size(), false);
  for (int number = 1; number <= m_good.newCount; ++number) {
    const Fault fault = {Fault::Kind::New, Call::Malloc, number};
    const Life life = live(m_scenario, fault);
    if (hasAborted(life)) {
      checkAfterAbort(nameOf(fault));
    } else if (life.hasNothrowFailed) {
      judge(fault, life, m_nothrowEndings, happened);
    } else {
      ADD_FAILURE() << nameOf(fault) << "\n  " << describe(life, m_good.nextBlocks);
    }
  }
  for (size_t i = 0; i < m_nothrowEndings.size(); ++i) {
    EXPECT_TRUE(happened[i]) << "never happened: " << describe(m_nothrowEndings[i]);
  }
  EXPECT_GT(m_good.newCount, 0);
  std::cout << m_good.newCount << " allocations have failed in turn\n";
}

}  // namespace KelpTest
