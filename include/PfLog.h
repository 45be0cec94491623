// The platform's logging function and the two levels that Kelp logs at.
//
// Kelp calls PfLogPrintf but does not define it: the program, or any library in its process, does. Every line has the
// fixed prefix "%05d:%X %s L:%d %s " (process id, thread id, source file, line, function) before its message. Where no
// definition exists, error lines go to standard error and trace lines nowhere.
//
// Threads: called from any thread that uses Kelp, also while Kelp holds one of its own locks, so an implementation
// must be thread-safe and must not call back into Kelp.
#ifndef KELP_FOUNDATION_PF_LOG_H
#define KELP_FOUNDATION_PF_LOG_H

// The result is never used.
extern "C" int PfLogPrintf(unsigned int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

namespace Kelp {

constexpr unsigned int kPfLogLevelError = 0x40000008;  // failed system calls, bad input, inconsistent state
constexpr unsigned int kPfLogLevelTrace = 0x40000080;  // notable but normal events

}  // namespace Kelp

#endif  // KELP_FOUNDATION_PF_LOG_H
