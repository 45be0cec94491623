// How the library logs and asserts.
//
// Field logs are read by module and line number, so a number that is known outside is part of the interface: such a
// site names it (the ..._AT macros) and keeps it wherever the code moves. All other sites show their own line.
#ifndef KELP_FOUNDATION_DIAGNOSTICS_H
#define KELP_FOUNDATION_DIAGNOSTICS_H

#include <pthread.h>
#include <unistd.h>

#include "PfLog.h"

// Weak: null where no logger is in the process.
// NOLINTNEXTLINE(readability-redundant-declaration): the public one cannot be weak, or a definition would be so too
extern "C" int PfLogPrintf(unsigned int level, const char* format, ...) __attribute__((weak, format(printf, 2, 3)));

// Declared here as the C library's header does, because that header hides it under NDEBUG: without that, a second time.
// The name is the C library's.
// NOLINTNEXTLINE(readability-redundant-declaration,bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" void __assert_fail(const char* expression, const char* file, unsigned int line,
                              const char* function) noexcept __attribute__((noreturn));

namespace Kelp {

// Takes the logger's place where there is none: error lines go to standard error, one write each; trace lines nowhere.
int fallbackPfLogPrintf(unsigned int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// The low 32 bits of the calling thread's id, which the prefix shows.
inline unsigned int logThreadId() {
  return static_cast<unsigned int>(pthread_self());
}

// Whether trace lines go anywhere: without a logger they are not even put together.
inline bool isTraceLogged() {
  return PfLogPrintf != nullptr;
}

// Only its format check is used: never called.
void checkLogFormat(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Puts the prefix's arguments before the message's own. `prefixedFormat` is the prefix followed by the message's
// format, which stands again, unused, as the head of the message's arguments.
template <typename... Arguments>
void logLine(unsigned int level, const char* file, int line, const char* function, const char* prefixedFormat,
             const char* /*format*/, Arguments... arguments) {
  if (level == kPfLogLevelTrace && !isTraceLogged()) {
    return;
  }
  // A literal of which the prefix is right for these arguments; the rest is checked where it is written, by the macro.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  const auto print = PfLogPrintf != nullptr ? PfLogPrintf : fallbackPfLogPrintf;
  print(level, prefixedFormat, getpid(), logThreadId(), file, line, function, arguments...);
#pragma GCC diagnostic pop
}

}  // namespace Kelp

#define KELP_LOG_FIRST(first, ...) first
#define KELP_LOG_LINE(level, line, ...)                                                        \
  (false ? ::Kelp::checkLogFormat(__VA_ARGS__)                                                 \
         : ::Kelp::logLine(level, __FILE_NAME__, line, static_cast<const char*>(__FUNCTION__), \
                           "%05d:%X %s L:%d %s " KELP_LOG_FIRST(__VA_ARGS__, ), __VA_ARGS__))

// Arguments: the message's format, a literal with the ending that it is to have, and its values.
#define KELP_LOG_ERROR(...) KELP_LOG_LINE(::Kelp::kPfLogLevelError, __LINE__, __VA_ARGS__)
#define KELP_LOG_ERROR_AT(line, ...) KELP_LOG_LINE(::Kelp::kPfLogLevelError, line, __VA_ARGS__)
#define KELP_LOG_TRACE(...) KELP_LOG_LINE(::Kelp::kPfLogLevelTrace, __LINE__, __VA_ARGS__)
#define KELP_LOG_TRACE_AT(line, ...) KELP_LOG_LINE(::Kelp::kPfLogLevelTrace, line, __VA_ARGS__)

// Assertions hold in every build, NDEBUG or not. `text` is the expression as the assertion shows it; `function` the
// full signature, written out where it is known outside because compilers spell nested types differently.
#define KELP_ASSERT_AT(line, condition, text, function) \
  ((condition) ? static_cast<void>(0) : __assert_fail(text, __FILE_NAME__, line, function))
#define KELP_ASSERT(condition, text) \
  KELP_ASSERT_AT(__LINE__, condition, text, static_cast<const char*>(__PRETTY_FUNCTION__))
#define KELP_FAIL_AT(line, text, function) __assert_fail(text, __FILE_NAME__, line, function)
#define KELP_FAIL(text) KELP_FAIL_AT(__LINE__, text, static_cast<const char*>(__PRETTY_FUNCTION__))

#endif  // KELP_FOUNDATION_DIAGNOSTICS_H
