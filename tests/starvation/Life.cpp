#include "starvation/Life.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <pthread.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <utility>

#include "starvation/FailingNew.h"

#ifdef __has_feature
#if __has_feature(address_sanitizer)
#define KELP_TEST_FINDS_LEAKS
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
#define KELP_TEST_FINDS_LEAKS
#endif
#ifdef KELP_TEST_FINDS_LEAKS
#include <sanitizer/lsan_interface.h>
#endif

namespace KelpTest {

namespace {

constexpr unsigned int kPatience = 60;  // seconds for one process, which takes milliseconds

LogCapture* s_log = nullptr;

std::mutex s_lineMutex;  // guards the function below, and is held while it runs
std::function<void()>& lineFunction() {
  static auto* const s_function = new std::function<void()>;
  return *s_function;
}

void runLineFunction() {
  const std::lock_guard<std::mutex> lock(s_lineMutex);
  if (lineFunction()) {
    lineFunction()();
  }
}

int countDescriptors() {
  DIR* const directory = opendir("/proc/self/fd");
  int count = 0;
  while (readdir(directory) != nullptr) {
    ++count;
  }
  closedir(directory);
  return count;
}

bool findLeaks() {
#ifdef KELP_TEST_FINDS_LEAKS
  return __lsan_do_recoverable_leak_check() != 0;
#else
  return false;
#endif
}

// What the library and the scenario hold on the heap.
int countBlocks() {
  return newBlocks() + callCount(Call::Malloc) - callCount(Call::Free);
}

std::vector<int> countCalls() {
  const UncountedCalls own;
  std::vector<int> counts;
  for (int call = 0; call <= static_cast<int>(Call::Write); ++call) {
    counts.push_back(callCount(static_cast<Call>(call)));
  }
  return counts;
}

// --- The report of a process to its parent: texts, each behind its size

void put(std::string& report, const std::string& text) {
  report += std::to_string(text.size()) + ":" + text;
}

void put(std::string& report, int number) {
  put(report, std::to_string(number));
}

void put(std::string& report, const std::vector<LogLine>& lines) {
  put(report, static_cast<int>(lines.size()));
  for (const LogLine& line : lines) {
    put(report, line.file);
    put(report, line.line);
    put(report, line.function);
    put(report, line.message);
  }
}

class Reader {
 public:
  explicit Reader(const std::string& report) : m_report(report), m_position(0) {}

  std::string text() {
    const size_t colon = m_report.find(':', m_position);
    const auto size = static_cast<size_t>(atoi(m_report.c_str() + m_position));
    m_position = colon + 1 + size;
    return m_report.substr(colon + 1, size);
  }

  int number() { return atoi(text().c_str()); }

  std::vector<LogLine> lines() {
    std::vector<LogLine> result;
    for (int count = number(); count > 0; --count) {
      const std::string file = text();
      const int line = number();
      const std::string function = text();
      result.push_back(errorLine(file, line, function, text()));
    }
    return result;
  }

 private:
  const std::string& m_report;
  size_t m_position;
};

std::string makeReport(const Life& life) {
  std::string report;
  put(report, life.hasFailed);
  put(report, life.hasNothrowFailed);
  put(report, life.result);
  put(report, life.errors);
  put(report, life.wrongFiles);
  put(report, life.descriptors);
  put(report, life.blocks);
  put(report, life.nextResult);
  put(report, life.nextErrors);
  put(report, life.nextBlocks);
  put(report, life.hasLeaks);
  put(report, life.newCount);
  for (const int count : life.callCounts) {
    put(report, count);
  }
  return report;
}

void readReport(const std::string& report, Life& life) {
  Reader reader(report);
  life.isComplete = true;
  life.hasFailed = reader.number() != 0;
  life.hasNothrowFailed = reader.number() != 0;
  life.result = reader.text();
  life.errors = reader.lines();
  life.wrongFiles = reader.text();
  life.descriptors = reader.number();
  life.blocks = reader.number();
  life.nextResult = reader.text();
  life.nextErrors = reader.lines();
  life.nextBlocks = reader.number();
  life.hasLeaks = reader.number() != 0;
  life.newCount = reader.number();
  for (int& count : life.callCounts) {
    count = reader.number();
  }
}

// --- The process

// What it does besides living is its own business: no fault hits it.
class Process {
 public:
  Process(const Scenario& scenario, const Fault& fault, bool looksForLeaks)
      : m_scenario(scenario), m_fault(fault), m_looksForLeaks(looksForLeaks), m_log([] { runLineFunction(); }) {
    s_log = &m_log;
  }

  Life liveTwice() {
    Life life;
    prepare();
    m_blocksBefore = countBlocks();
    m_newCountBefore = newCount();
    m_callCountsBefore = countCalls();
    const int descriptors = countDescriptorsUncounted();
    life.hasFailed = liveWithFault(life.result);
    lookBack(life);
    life.descriptors = countDescriptorsUncounted() - descriptors;
    prepare();
    liveOnce(life.nextResult);
    life.nextBlocks = countBlocks() - m_blocksBefore - m_failedMallocs;
    const UncountedCalls own;
    life.nextErrors = m_log.errors();
    life.hasLeaks = m_looksForLeaks && findLeaks();
    return life;
  }

 private:
  static int countDescriptorsUncounted() {
    const UncountedCalls own;
    return countDescriptors();
  }

  void prepare() {
    const UncountedCalls own;
    m_log.clear();
    if (m_scenario.prepare) {
      m_scenario.prepare();
    }
  }

  bool liveWithFault(std::string& result) {
    if (m_fault.kind == Fault::Kind::None) {
      liveOnce(result);
      return false;
    }
    if (m_fault.kind == Fault::Kind::New) {
      failNew(m_fault.number);
      liveOnce(result);
      return hasNewFailed();
    }
    const CallFault callFault(m_fault.call, errorOf(m_fault.call), m_fault.number - 1);
    liveOnce(result);
    m_failedMallocs = m_fault.call == Call::Malloc ? callFault.hits() : 0;
    return callFault.hits() > 0;
  }

  // The scenario's own string must not stay among the blocks that are counted.
  void liveOnce(std::string& result) {
    {
      const std::string answers = m_scenario.live();
      const UncountedCalls own;
      result = answers;
    }
    atEachLine(nullptr);
  }

  void lookBack(Life& life) {
    life.blocks = countBlocks() - m_blocksBefore - m_failedMallocs;
    life.newCount = newCount() - m_newCountBefore;
    life.hasNothrowFailed = hasNothrowNewFailed();
    life.callCounts = countCalls();
    const UncountedCalls own;
    for (size_t call = 0; call < life.callCounts.size(); ++call) {
      life.callCounts[call] -= m_callCountsBefore[call];
    }
    life.errors = m_log.errors();
    life.wrongFiles = m_scenario.checkFiles ? m_scenario.checkFiles(false) : "";
  }

  const Scenario& m_scenario;
  const Fault m_fault;
  const bool m_looksForLeaks;
  LogCapture m_log;
  const CallFault m_noSync{Call::Sync, EIO, 0, INT_MAX};  // of the whole machine, hundreds of times
  int m_blocksBefore = 0;
  int m_newCountBefore = 0;
  std::vector<int> m_callCountsBefore;
  int m_failedMallocs = 0;  // which count as calls
};

struct Task {
  const Scenario& scenario;
  const Fault& fault;
  bool looksForLeaks;
  int reportFd;
};

void* runTask(void* argument) {
  const Task& task = *static_cast<const Task*>(argument);
  const std::string report = makeReport(Process(task.scenario, task.fault, task.looksForLeaks).liveTwice());
  const bool isWritten = write(task.reportFd, report.data(), report.size()) == static_cast<ssize_t>(report.size());
  return isWritten ? argument : nullptr;
}

// On a thread of its own, which nobody has who would catch an exception: around the calling one the test's framework
// does, as no host may.
[[noreturn]] void liveAsChild(Task task) {
  alarm(kPatience);
  const UncountedCalls own;
  pthread_t thread;
  void* completed = nullptr;
  const bool isJoined = pthread_create(&thread, nullptr, runTask, &task) == 0 && pthread_join(thread, &completed) == 0;
  _exit(isJoined && completed != nullptr ? 0 : 1);
}

std::string contentsOf(int fd) {
  std::string text(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
  return pread(fd, &text[0], text.size(), 0) == static_cast<ssize_t>(text.size()) ? text : std::string();
}

}  // namespace

std::string nameOf(const Fault& fault) {
  if (fault.kind == Fault::Kind::None) {
    return "without a fault";
  }
  const std::string what = fault.kind == Fault::Kind::New ? "operator new" : nameOf(fault.call);
  return what + " number " + std::to_string(fault.number);
}

int errorOf(Call call) {
  switch (call) {
    case Call::Dup:
    case Call::EpollCreate:
    case Call::EpollCreate1:
    case Call::Fcntl:
    case Call::Fopen:
    case Call::Open:
    case Call::Pipe2:
    case Call::TimerfdCreate:
      return EMFILE;
    case Call::Close:
    case Call::Fclose:
    case Call::Fread:
    case Call::Fstat:
    case Call::Read:
    case Call::Readlink:
    case Call::Stat:
      return EIO;
    case Call::Fputs:
    case Call::Fwrite:
    case Call::Mkfifo:
    case Call::Rename:
    case Call::Write:
      return ENOSPC;
    case Call::Chmod:
    case Call::Chown:
    case Call::Unlink:
      return EROFS;
    case Call::System:
    case Call::ThreadCreate:
      return EAGAIN;
    case Call::Sigtimedwait:
      return EINTR;
    case Call::CtimeR:
    case Call::LocaltimeR:
      return EOVERFLOW;
    case Call::Gettimeofday:
    case Call::Lseek:
    case Call::Setvbuf:
    case Call::Sigaction:
    case Call::Sigmask:
    case Call::Sigpending:
    case Call::Syscall:
    case Call::Sysconf:
    case Call::TimerfdSettime:
      return EINVAL;
    default:
      return ENOMEM;
  }
}

Life live(const Scenario& scenario, const Fault& fault, bool looksForLeaks) {
  const int outputFd = memfd_create("output", MFD_CLOEXEC);
  const int reportFd = memfd_create("report", MFD_CLOEXEC);
  const pid_t process = fork();
  if (process == 0) {
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    dup2(outputFd, STDERR_FILENO);
    liveAsChild({scenario, fault, looksForLeaks, reportFd});
  }
  Life life;
  life.callCounts.resize(static_cast<size_t>(Call::Write) + 1);
  waitpid(process, &life.status, 0);
  life.output = contentsOf(outputFd);
  if (WIFEXITED(life.status) && WEXITSTATUS(life.status) == 0) {
    readReport(contentsOf(reportFd), life);
  }
  close(outputFd);
  close(reportFd);
  return life;
}

int loggedErrors() {
  const UncountedCalls own;
  return static_cast<int>(s_log->errors().size());
}

int loggedErrors(const std::string& file) {
  const UncountedCalls own;
  const std::vector<LogLine> errors = s_log->errors();
  return static_cast<int>(
      std::count_if(errors.begin(), errors.end(), [&file](const LogLine& line) { return line.file == file; }));
}

void atEachLine(std::function<void()> function) {
  const UncountedCalls own;
  const std::lock_guard<std::mutex> lock(s_lineMutex);
  lineFunction() = std::move(function);
}

}  // namespace KelpTest
