#include "support/LogCapture.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <mutex>

#include "PfLog.h"
#include "support/CallFaults.h"

namespace KelpTest {

namespace {

struct Captured {
  unsigned int level;
  std::string text;
};

std::mutex s_mutex;
bool s_isCapturing = false;
std::function<void()>& atEachLine() {
  static auto* function = new std::function<void()>;  // as below
  return *function;
}
std::vector<Captured>& captured() {
  static auto* lines = new std::vector<Captured>;  // never destroyed: static destructors may log
  return *lines;
}

__attribute__((format(printf, 1, 0))) std::string formatLine(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = vsnprintf(nullptr, 0, format, again);
  va_end(again);
  std::string text(static_cast<size_t>(length) + 1, '\0');
  vsnprintf(&text[0], text.size(), format, arguments);
  text.pop_back();
  return text;
}

// "00812:7F00AA File.cpp L:12 function message"
LogLine parse(const Captured& captured) {
  LogLine line{captured.level, captured.text, "", "", -1, "", ""};
  size_t ends[4];
  size_t from = 0;
  for (size_t& end : ends) {
    end = captured.text.find(' ', from);
    if (end == std::string::npos) {
      return line;
    }
    from = end + 1;
  }
  line.prefix = captured.text.substr(0, ends[3] + 1);
  line.file = captured.text.substr(ends[0] + 1, ends[1] - ends[0] - 1);
  line.line = atoi(captured.text.c_str() + ends[1] + 3);
  line.function = captured.text.substr(ends[2] + 1, ends[3] - ends[2] - 1);
  line.message = captured.text.substr(ends[3] + 1);
  return line;
}

std::vector<LogLine> linesOf(unsigned int level) {
  std::vector<LogLine> result;
  const std::lock_guard<std::mutex> lock(s_mutex);
  for (const Captured& line : captured()) {
    if (level == 0 || line.level == level) {
      result.push_back(parse(line));
    }
  }
  return result;
}

}  // namespace

bool operator==(const LogLine& left, const LogLine& right) {
  const bool isLineEqual = left.line == 0 || right.line == 0 || left.line == right.line;
  return left.level == right.level && left.file == right.file && isLineEqual && left.function == right.function &&
         left.message == right.message;
}

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
  return out << std::hex << line.level << std::dec << " " << line.file << " L:" << line.line << " " << line.function
             << " " << line.message;
}

LogLine errorLine(const std::string& file, int line, const std::string& function, const std::string& message) {
  return {Kelp::kPfLogLevelError, "", "", file, line, function, message};
}

LogLine traceLine(const std::string& file, int line, const std::string& function, const std::string& message) {
  return {Kelp::kPfLogLevelTrace, "", "", file, line, function, message};
}

LogCapture::LogCapture() : LogCapture(nullptr) {}

LogCapture::LogCapture(const std::function<void()>& atEachLine) {
  const std::lock_guard<std::mutex> lock(s_mutex);
  captured().clear();
  s_isCapturing = true;
  KelpTest::atEachLine() = atEachLine;
}

LogCapture::~LogCapture() {
  const std::lock_guard<std::mutex> lock(s_mutex);
  captured().clear();
  s_isCapturing = false;
  atEachLine() = nullptr;
}

std::vector<LogLine> LogCapture::lines() const {
  return linesOf(0);
}

std::vector<LogLine> LogCapture::errors() const {
  return linesOf(Kelp::kPfLogLevelError);
}

std::vector<LogLine> LogCapture::traces() const {
  return linesOf(Kelp::kPfLogLevelTrace);
}

bool LogCapture::contains(const LogLine& expected) const {
  const std::vector<LogLine> all = lines();
  return std::find(all.begin(), all.end(), expected) != all.end();
}

void LogCapture::clear() {
  const std::lock_guard<std::mutex> lock(s_mutex);
  captured().clear();
}

}  // namespace KelpTest

extern "C" int PfLogPrintf(unsigned int level, const char* format, ...) {
  const KelpTest::UncountedCalls uncounted;
  va_list arguments;
  va_start(arguments, format);
  std::string text = KelpTest::formatLine(format, arguments);
  va_end(arguments);
  std::function<void()> atThisLine;
  {
    const std::lock_guard<std::mutex> lock(KelpTest::s_mutex);
    if (KelpTest::s_isCapturing) {
      KelpTest::captured().push_back({level, std::move(text)});
      atThisLine = KelpTest::atEachLine();
    }
  }
  if (atThisLine) {
    atThisLine();
  }
  return 0;
}
