// Collects what the library logs. The test program defines PfLogPrintf; while a LogCapture lives, every line goes into
// it and nowhere else; without one, lines are dropped.
//
// Threads: lines may arrive from any thread; one capture at a time.
#ifndef KELP_TESTS_SUPPORT_LOG_CAPTURE_H
#define KELP_TESTS_SUPPORT_LOG_CAPTURE_H

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace KelpTest {

// One log line, taken apart at its fixed prefix.
struct LogLine {
  unsigned int level;
  std::string text;    // the whole line as logged
  std::string prefix;  // "00812:7F00AA " and what else precedes the message
  std::string file;
  int line;
  std::string function;
  std::string message;  // all behind the prefix, endings included
};

bool operator==(const LogLine& left, const LogLine& right);
std::ostream& operator<<(std::ostream& out, const LogLine& line);

// The line that is expected: level, module, number, function and message have to match. A line number of 0 matches any.
LogLine errorLine(const std::string& file, int line, const std::string& function, const std::string& message);
LogLine traceLine(const std::string& file, int line, const std::string& function, const std::string& message);

class LogCapture {
 public:
  LogCapture();
  // `atEachLine` runs as a logger would: inside each call that logs, on the calling thread.
  explicit LogCapture(const std::function<void()>& atEachLine);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<LogLine> lines() const;
  std::vector<LogLine> errors() const;  // those of the error level
  std::vector<LogLine> traces() const;  // those of the trace level
  bool contains(const LogLine& expected) const;
  void clear();
};

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_LOG_CAPTURE_H
