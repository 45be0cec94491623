#include "foundation/Diagnostics.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

namespace Kelp {

namespace {

constexpr size_t kMaxLineBytes = 1024;
constexpr char kCutMark[] = "...\n";
constexpr size_t kCutMarkBytes = sizeof(kCutMark) - 1;

// Ends the text of `length` bytes (as vsnprintf counts them) with a newline, or marks it where it was cut.
size_t endLine(char* line, size_t length) {
  if (length >= kMaxLineBytes) {
    memcpy(line + kMaxLineBytes - kCutMarkBytes, kCutMark, kCutMarkBytes);
    return kMaxLineBytes;
  }
  if (length == 0 || line[length - 1] != '\n') {
    line[length++] = '\n';
  }
  return length;
}

}  // namespace

// NOLINTNEXTLINE(cert-dcl50-cpp): stands in for a function that is variadic
int fallbackPfLogPrintf(unsigned int level, const char* format, ...) {
  if (level != kPfLogLevelError) {
    return 0;
  }
  const int savedErrno = errno;
  char line[kMaxLineBytes];
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  if (length >= 0) {
    const ssize_t written = ::write(STDERR_FILENO, line, endLine(line, static_cast<size_t>(length)));
    static_cast<void>(written);  // a line that standard error refuses has nowhere else to go
  }
  errno = savedErrno;
  return length;
}

}  // namespace Kelp
