#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "foundation/Diagnostics.h"
#include "foundation/DiagnosticsNdebug.h"
#include "support/CallFaults.h"
#include "support/LogCapture.h"

namespace {

using Kelp::fallbackPfLogPrintf;
using Kelp::kPfLogLevelError;
using Kelp::kPfLogLevelTrace;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::errorLine;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::traceLine;

constexpr int kNoNamespace = 77;

// What the process writes to standard error while this lives, up to what a pipe holds.
class StderrCapture {
 public:
  StderrCapture() : m_saved(dup(STDERR_FILENO)) {
    EXPECT_EQ(pipe2(m_pipe, O_CLOEXEC | O_NONBLOCK), 0);
    EXPECT_EQ(dup2(m_pipe[1], STDERR_FILENO), STDERR_FILENO);
  }

  ~StderrCapture() {
    dup2(m_saved, STDERR_FILENO);
    for (const int fd : {m_saved, m_pipe[0], m_pipe[1]}) {
      close(fd);
    }
  }

  std::string text() const {
    char buffer[65536];
    const ssize_t length = read(m_pipe[0], buffer, sizeof(buffer));
    return length > 0 ? std::string(buffer, static_cast<size_t>(length)) : "";
  }

 private:
  int m_saved;
  int m_pipe[2];
};

std::string fallbackText(const std::string& message) {
  const StderrCapture capture;
  fallbackPfLogPrintf(kPfLogLevelError, "%s", message.c_str());
  return capture.text();
}

std::string prefixOf(int pid, pthread_t thread, const char* function, int line) {
  char prefix[200];
  snprintf(prefix, sizeof(prefix), "%05d:%X %s L:%d %s ", pid, static_cast<unsigned int>(thread), "DiagnosticsTest.cpp",
           line, function);
  return prefix;
}

int logHere() {
  KELP_LOG_ERROR("here %d\n", 1);
  return __LINE__ - 1;
}

TEST(DiagnosticsTest, LineBeginsWithProcessThreadFileLineAndFunction) {
  LogCapture log;
  const int line = logHere();
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0].text, prefixOf(getpid(), pthread_self(), "logHere", line) + "here 1\n");
}

TEST(DiagnosticsTest, LineShowsTheThreadThatLogs) {
  LogCapture log;
  pthread_t other{};
  int line = 0;
  std::thread([&] {
    other = pthread_self();
    line = logHere();
  }).join();
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0].text, prefixOf(getpid(), other, "logHere", line) + "here 1\n");
}

TEST(DiagnosticsTest, ThreadIdIsItsLow32BitsInUpperCaseHexadecimalWithoutLeadingZeros) {
  LogCapture log;
  logHere();
  ASSERT_EQ(log.lines().size(), 1U);
  const std::string prefix = log.lines()[0].prefix;
  const size_t colon = prefix.find(':');
  const std::string id = prefix.substr(colon + 1, prefix.find(' ') - colon - 1);
  EXPECT_EQ(id.find_first_not_of("0123456789ABCDEF"), std::string::npos) << id;
  EXPECT_NE(id[0], '0');
  EXPECT_EQ(std::stoul(id, nullptr, 16), static_cast<uint32_t>(pthread_self()));
}

// Runs `body` as the first process, which has id 1, of a process id namespace of its own. Returns its exit status. The
// process between the two is there because its own later children would land in the dead namespace.
int runAsProcessOne(int (*body)()) {
  const pid_t outer = fork();
  if (outer == 0) {
    if (unshare(CLONE_NEWPID) != 0) {
      _exit(kNoNamespace);
    }
    const pid_t inner = fork();
    if (inner == 0) {
      _exit(body());
    }
    int status = -1;
    waitpid(inner, &status, 0);
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
  }
  int status = -1;
  waitpid(outer, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

TEST(DiagnosticsTest, ProcessIdHasAtLeastFiveDigits) {
  const int status = runAsProcessOne([] {
    LogCapture log;
    logHere();
    return log.lines()[0].text.compare(0, 6, "00001:") == 0 ? 0 : 1;
  });
  if (status == kNoNamespace) {
    GTEST_SKIP() << "needs a process id namespace of its own";
  }
  EXPECT_EQ(status, 0);
}

TEST(DiagnosticsTest, FunctionIsTheBareNameInAMemberToo) {
  struct Logging {
    static void lambdaAndMember(int) { KELP_LOG_ERROR_AT(5, "x"); }
  };
  LogCapture log;
  Logging::lambdaAndMember(0);
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0], errorLine("DiagnosticsTest.cpp", 5, "lambdaAndMember", "x"));
}

TEST(DiagnosticsTest, ErrorAndTraceLinesCarryTheirLevelWords) {
  LogCapture log;
  KELP_LOG_ERROR("e\n");
  KELP_LOG_ERROR_AT(1, "e\n");
  KELP_LOG_TRACE("t\n");
  KELP_LOG_TRACE_AT(1, "t\n");
  ASSERT_EQ(log.lines().size(), 4U);
  EXPECT_EQ(log.lines()[0].level, 0x40000008U);
  EXPECT_EQ(log.lines()[1].level, 0x40000008U);
  EXPECT_EQ(log.lines()[2].level, 0x40000080U);
  EXPECT_EQ(log.lines()[3].level, 0x40000080U);
}

TEST(DiagnosticsTest, FixedLineNumberIsShownWhateverLineTheCodeStandsOn) {
  LogCapture log;
  KELP_LOG_ERROR_AT(93, "###ERROR###\n");
  KELP_LOG_TRACE_AT(82, "Exist %d\n", 16);
  ASSERT_EQ(log.lines().size(), 2U);
  EXPECT_EQ(log.lines()[0], errorLine("DiagnosticsTest.cpp", 93, "TestBody", "###ERROR###\n"));
  EXPECT_EQ(log.lines()[1], traceLine("DiagnosticsTest.cpp", 82, "TestBody", "Exist 16\n"));
}

TEST(DiagnosticsTest, OtherSitesShowTheirOwnLine) {
  LogCapture log;
  KELP_LOG_ERROR("e\n");
  KELP_LOG_TRACE("t\n");
  const int line = __LINE__;
  ASSERT_EQ(log.lines().size(), 2U);
  EXPECT_EQ(log.lines()[0], errorLine("DiagnosticsTest.cpp", line - 2, "TestBody", "e\n"));
  EXPECT_EQ(log.lines()[1], traceLine("DiagnosticsTest.cpp", line - 1, "TestBody", "t\n"));
}

TEST(DiagnosticsTest, MessageKeepsItsEnding) {
  LogCapture log;
  KELP_LOG_ERROR("none");
  KELP_LOG_ERROR("one\n");
  KELP_LOG_ERROR("two\n\n");
  ASSERT_EQ(log.lines().size(), 3U);
  EXPECT_EQ(log.lines()[0].message, "none");
  EXPECT_EQ(log.lines()[1].message, "one\n");
  EXPECT_EQ(log.lines()[2].message, "two\n\n");
}

TEST(DiagnosticsTest, ArgumentsAreEvaluatedOnce) {
  LogCapture log;
  int calls = 0;
  KELP_LOG_ERROR("call %d\n", ++calls);
  EXPECT_EQ(calls, 1);
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0].message, "call 1\n");
}

TEST(DiagnosticsTest, AssertionThatHoldsDoesNothing) {
  int evaluations = 0;
  KELP_ASSERT(++evaluations == 1, "evaluations == 1");
  KELP_ASSERT_AT(7, ++evaluations == 2, "evaluations == 2", "void given()");
  EXPECT_EQ(evaluations, 2);
}

TEST(DiagnosticsTest, AssertionThatHoldsDoesNothingUnderNdebug) {
  KelpTest::assertUnderNdebug(true);
}

TEST(DiagnosticsDeathTest, AssertionShowsItsTextFileLineAndSignature) {
  const int line = __LINE__ + 1;
  EXPECT_DEATH(KELP_ASSERT(getpid() == 0, "s_pThis != __null"),
               "DiagnosticsTest\\.cpp:" + std::to_string(line) +
                   ": virtual void .*TestBody\\(\\): Assertion `s_pThis != __null' failed");
}

TEST(DiagnosticsDeathTest, AssertionWithAFixedLineShowsTheGivenNumberAndSignature) {
  EXPECT_DEATH(KELP_ASSERT_AT(67, getpid() == 0, "false", "void Kelp::Mutex::lock()"),
               "DiagnosticsTest\\.cpp:67: void Kelp::Mutex::lock\\(\\): Assertion `false' failed");
}

TEST(DiagnosticsDeathTest, UnconditionalFailureEndsTheProcess) {
  const int line = __LINE__ + 1;
  EXPECT_DEATH(KELP_FAIL("false"), "DiagnosticsTest\\.cpp:" + std::to_string(line) +
                                       ": virtual void .*TestBody\\(\\): Assertion `false' failed");
}

TEST(DiagnosticsDeathTest, AssertionEndsTheProcessBySigabrt) {
  EXPECT_EXIT(KELP_FAIL_AT(1, "false", "f"), testing::KilledBySignal(SIGABRT), "Assertion");
}

TEST(DiagnosticsDeathTest, AssertionWorksUnderNdebug) {
  EXPECT_DEATH(KelpTest::assertUnderNdebug(false),
               "DiagnosticsNdebug\\.cpp:7: void given\\(\\): Assertion `condition holds' failed");
  EXPECT_DEATH(KelpTest::failUnderNdebug(), "DiagnosticsNdebug\\.cpp:8: void given\\(\\): Assertion `false' failed");
}

TEST(FallbackLoggerTest, WritesAnErrorLineToStandardError) {
  const StderrCapture capture;
  fallbackPfLogPrintf(kPfLogLevelError, "%05d:%X %s L:%d %s Mutex Lock Error (errno=%d)\n", 812, 0xABCU, "Mutex.cpp",
                      93, "trylock", 2);
  EXPECT_EQ(capture.text(), "00812:ABC Mutex.cpp L:93 trylock Mutex Lock Error (errno=2)\n");
}

TEST(FallbackLoggerTest, NeverWritesATraceLine) {
  const StderrCapture capture;
  fallbackPfLogPrintf(kPfLogLevelTrace, "trace\n");
  EXPECT_EQ(capture.text(), "");
}

TEST(FallbackLoggerTest, WritesEachLineWithOneWrite) {
  const StderrCapture capture;
  const int before = callCount(Call::Write);
  fallbackPfLogPrintf(kPfLogLevelError, "%s %d\n", std::string(900, 'a').c_str(), 1);
  fallbackPfLogPrintf(kPfLogLevelError, "no newline %d", 2);
  fallbackPfLogPrintf(kPfLogLevelError, "%s", std::string(5000, 'b').c_str());
  EXPECT_EQ(callCount(Call::Write) - before, 3);
}

TEST(FallbackLoggerTest, AddsTheNewlineThatAMessageLacks) {
  EXPECT_EQ(fallbackText("without"), "without\n");
  EXPECT_EQ(fallbackText(""), "\n");
}

TEST(FallbackLoggerTest, KeepsTheNewlinesThatAMessageHas) {
  EXPECT_EQ(fallbackText("one\n"), "one\n");
  EXPECT_EQ(fallbackText("two\n\n"), "two\n\n");
}

TEST(FallbackLoggerTest, CutsALineAt1KiBAndMarksIt) {
  const std::string text = fallbackText(std::string(5000, 'x') + "\n");
  ASSERT_LE(text.size(), 1024U);
  ASSERT_GE(text.size(), 1000U);
  EXPECT_EQ(text.substr(text.size() - 4), "...\n");
  EXPECT_EQ(text.substr(0, text.size() - 4), std::string(text.size() - 4, 'x'));
}

TEST(FallbackLoggerTest, EveryLengthIsWholeOrMarked) {
  for (size_t length = 1000; length <= 1100; ++length) {
    for (const std::string ending : {"", "\n"}) {
      const std::string message = std::string(length - ending.size(), 'x') + ending;
      const std::string text = fallbackText(message);
      const std::string whole = ending.empty() ? message + "\n" : message;
      const bool isCut = text.size() > 4 && text.compare(text.size() - 4, 4, "...\n") == 0;
      EXPECT_LE(text.size(), 1024U);
      EXPECT_EQ(isCut, length >= 1024) << length;
      EXPECT_TRUE(isCut || text == whole) << length << ": " << text.size();
    }
  }
}

TEST(FallbackLoggerTest, KeepsErrno) {
  const StderrCapture capture;
  errno = ENOENT;
  fallbackPfLogPrintf(kPfLogLevelError, "line\n");
  EXPECT_EQ(errno, ENOENT);
  fallbackPfLogPrintf(kPfLogLevelTrace, "line\n");
  EXPECT_EQ(errno, ENOENT);
}

TEST(FallbackLoggerTest, KeepsErrnoWhenStandardErrorRefusesTheLine) {
  CallFault fault(Call::Write, EPIPE);
  errno = ENOENT;
  fallbackPfLogPrintf(kPfLogLevelError, "line\n");
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(fault.hits(), 1);
}

TEST(FallbackLoggerTest, WritesNothingWhenAMessageCannotBeFormatted) {
  const StderrCapture capture;
  errno = ENOENT;
  fallbackPfLogPrintf(kPfLogLevelError, "%ls\n", L"\x110000");  // no character: vsnprintf fails
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(capture.text(), "");
}

TEST(FallbackLoggerTest, KeepsLinesOfSeveralThreadsWhole) {
  const StderrCapture capture;
  std::thread threads[4];
  for (int t = 0; t < 4; ++t) {
    threads[t] = std::thread([t] {
      for (int i = 0; i < 50; ++i) {
        fallbackPfLogPrintf(kPfLogLevelError, "%s", std::string(100, static_cast<char>('a' + t)).c_str());
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  const std::string text = capture.text();
  ASSERT_EQ(text.size(), 200U * 101U);
  for (size_t from = 0; from < text.size(); from += 101) {
    EXPECT_EQ(text.substr(from, 101), std::string(100, text[from]) + "\n");
  }
}

}  // namespace
