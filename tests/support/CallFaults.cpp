#include "support/CallFaults.h"

#include <errno.h>
#include <json-c/json.h>
#include <pthread.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

namespace KelpTest {

namespace {

struct CallState {
  std::atomic<int> count{0};
  std::atomic<int> skip{0};
  std::atomic<int> times{0};
  std::atomic<int> hits{0};
  std::atomic<int> error{0};
};

CallState s_calls[static_cast<int>(Call::Write) + 1];
thread_local int t_uncounted = 0;  // how many UncountedCalls the thread has
std::atomic<int> s_writeLimit{-1};

std::mutex s_textMutex;  // guards the texts below
std::string s_lastSystemCommand;
std::unique_ptr<std::string> s_linkTarget;

CallState& stateOf(Call call) {
  return s_calls[static_cast<int>(call)];
}

// Counts the call. Returns the error that it has to fail with, or 0.
int takeFault(Call call) {
  if (t_uncounted > 0) {
    return 0;
  }
  CallState& state = stateOf(call);
  state.count.fetch_add(1);
  if (state.times.load() == 0 || state.skip.fetch_sub(1) > 0) {
    return 0;
  }
  if (state.times.fetch_sub(1) <= 0) {
    state.times.store(0);
    return 0;
  }
  state.hits.fetch_add(1);
  return state.error.load();
}

bool failsWithErrno(Call call) {
  const int error = takeFault(call);
  if (error == 0) {
    return false;
  }
  errno = error;
  return true;
}

}  // namespace

const char* nameOf(Call call) {
  static const char* const kNames[] = {
#define KELP_TEST_NAME(enumerator, function) #function,
      KELP_TEST_CALLS(KELP_TEST_NAME)
#undef KELP_TEST_NAME
  };
  return kNames[static_cast<int>(call)];
}

CallFault::CallFault(Call call, int error, int skip, int times) : m_call(call) {
  CallState& state = stateOf(call);
  state.hits.store(0);
  state.error.store(error);
  state.skip.store(skip);
  state.times.store(times);
}

CallFault::~CallFault() {
  stateOf(m_call).times.store(0);
}

int CallFault::hits() const {
  return stateOf(m_call).hits.load();
}

UncountedCalls::UncountedCalls() {
  t_uncounted++;
}

UncountedCalls::~UncountedCalls() {
  t_uncounted--;
}

bool UncountedCalls::areHeld() {
  return t_uncounted > 0;
}

int callCount(Call call) {
  return stateOf(call).count.load();
}

std::string lastSystemCommand() {
  const std::lock_guard<std::mutex> lock(s_textMutex);
  return s_lastSystemCommand;
}

LinkTarget::LinkTarget(std::string target) {
  const std::lock_guard<std::mutex> lock(s_textMutex);
  s_linkTarget = std::make_unique<std::string>(std::move(target));
}

LinkTarget::~LinkTarget() {
  const std::lock_guard<std::mutex> lock(s_textMutex);
  s_linkTarget.reset();
}

ShortWrites::ShortWrites(int limit) {
  s_writeLimit.store(limit);
}

ShortWrites::~ShortWrites() {
  s_writeLimit.store(-1);
}

}  // namespace KelpTest

using KelpTest::Call;
using KelpTest::failsWithErrno;
using KelpTest::takeFault;

// The linker's own naming for wrapped calls.
#define KELP_TEST_WRAP(enumerator, result, failure, function, parameters, arguments) \
  extern "C" result __real_##function parameters;                                    \
  extern "C" result __wrap_##function parameters;                                    \
  extern "C" result __wrap_##function parameters {                                   \
    return failsWithErrno(Call::enumerator) ? failure : __real_##function arguments; \
  }

#define KELP_TEST_WRAP_RELEASE(enumerator, result, failure, function, parameters, arguments) \
  extern "C" result __real_##function parameters;                                            \
  extern "C" result __wrap_##function parameters;                                            \
  extern "C" result __wrap_##function parameters {                                           \
    const result outcome = __real_##function arguments;                                      \
    return failsWithErrno(Call::enumerator) ? failure : outcome;                             \
  }

#define KELP_TEST_WRAP_PTHREAD(enumerator, function, parameters, arguments) \
  extern "C" int __real_##function parameters;                              \
  extern "C" int __wrap_##function parameters;                              \
  extern "C" int __wrap_##function parameters {                             \
    const int error = takeFault(Call::enumerator);                          \
    return error != 0 ? error : __real_##function arguments;                \
  }

KELP_TEST_WRAP(Chmod, int, -1, chmod, (const char* path, mode_t mode), (path, mode))
KELP_TEST_WRAP(Chown, int, -1, chown, (const char* path, uid_t owner, gid_t group), (path, owner, group))
KELP_TEST_WRAP_RELEASE(Close, int, -1, close, (int fd), (fd))
KELP_TEST_WRAP(CtimeR, char*, nullptr, ctime_r, (const time_t* time, char* text), (time, text))
KELP_TEST_WRAP(Dup, int, -1, dup, (int fd), (fd))
KELP_TEST_WRAP(EpollCreate, int, -1, epoll_create, (int size), (size))
KELP_TEST_WRAP(EpollCreate1, int, -1, epoll_create1, (int flags), (flags))
KELP_TEST_WRAP(EpollCtl, int, -1, epoll_ctl, (int epfd, int op, int fd, epoll_event* event), (epfd, op, fd, event))
KELP_TEST_WRAP(EpollWait, int, -1, epoll_wait, (int epfd, epoll_event* events, int count, int timeout),
               (epfd, events, count, timeout))
KELP_TEST_WRAP_RELEASE(Fclose, int, EOF, fclose, (FILE * stream), (stream))
KELP_TEST_WRAP(Fopen, FILE*, nullptr, fopen64, (const char* path, const char* mode), (path, mode))
KELP_TEST_WRAP(Fputs, int, EOF, fputs, (const char* text, FILE* stream), (text, stream))
KELP_TEST_WRAP(Fread, size_t, 0, fread, (void* data, size_t size, size_t count, FILE* stream),
               (data, size, count, stream))
KELP_TEST_WRAP(Fstat, int, -1, fstat64, (int fd, struct stat* status), (fd, status))
KELP_TEST_WRAP(Fwrite, size_t, 0, fwrite, (const void* data, size_t size, size_t count, FILE* stream),
               (data, size, count, stream))
KELP_TEST_WRAP(Gettimeofday, int, -1, gettimeofday, (timeval * time, void* zone), (time, zone))
KELP_TEST_WRAP(JsonArrayAdd, int, -1, json_object_array_add, (json_object * array, json_object* value), (array, value))
KELP_TEST_WRAP(JsonGetString, const char*, nullptr, json_object_get_string, (json_object * value), (value))
KELP_TEST_WRAP(JsonNewArray, json_object*, nullptr, json_object_new_array, (), ())
KELP_TEST_WRAP(JsonNewObject, json_object*, nullptr, json_object_new_object, (), ())
KELP_TEST_WRAP(JsonNewString, json_object*, nullptr, json_object_new_string, (const char* text), (text))
KELP_TEST_WRAP(JsonObjectAdd, int, -1, json_object_object_add,
               (json_object * object, const char* key, json_object* value), (object, key, value))
KELP_TEST_WRAP(JsonParse, json_object*, nullptr, json_tokener_parse, (const char* text), (text))
KELP_TEST_WRAP(JsonToString, const char*, nullptr, json_object_to_json_string_ext, (json_object * value, int flags),
               (value, flags))
KELP_TEST_WRAP(LocaltimeR, tm*, nullptr, localtime_r, (const time_t* time, tm* result), (time, result))
KELP_TEST_WRAP(Lseek, off_t, -1, lseek64, (int fd, off_t offset, int whence), (fd, offset, whence))
KELP_TEST_WRAP(Malloc, void*, nullptr, malloc, (size_t size), (size))
KELP_TEST_WRAP(Mkfifo, int, -1, mkfifo, (const char* path, mode_t mode), (path, mode))
KELP_TEST_WRAP(Mmap, void*, MAP_FAILED, mmap64,
               (void* address, size_t size, int protection, int flags, int fd, off_t offset),
               (address, size, protection, flags, fd, offset))
KELP_TEST_WRAP_RELEASE(Munmap, int, -1, munmap, (void* address, size_t size), (address, size))
KELP_TEST_WRAP(Pipe2, int, -1, pipe2, (int* fds, int flags), (fds, flags))
KELP_TEST_WRAP_PTHREAD(AttrInit, pthread_attr_init, (pthread_attr_t * attributes), (attributes))
KELP_TEST_WRAP_PTHREAD(AttrSetstacksize, pthread_attr_setstacksize, (pthread_attr_t * attributes, size_t size),
                       (attributes, size))
KELP_TEST_WRAP_PTHREAD(ThreadCreate, pthread_create,
                       (pthread_t * thread, const pthread_attr_t* attributes, void* (*routine)(void*), void* argument),
                       (thread, attributes, routine, argument))
KELP_TEST_WRAP_PTHREAD(MutexAttrInit, pthread_mutexattr_init, (pthread_mutexattr_t * attributes), (attributes))
KELP_TEST_WRAP_PTHREAD(MutexDestroy, pthread_mutex_destroy, (pthread_mutex_t * mutex), (mutex))
KELP_TEST_WRAP_PTHREAD(MutexInit, pthread_mutex_init, (pthread_mutex_t * mutex, const pthread_mutexattr_t* attributes),
                       (mutex, attributes))
KELP_TEST_WRAP_PTHREAD(MutexLock, pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex))
KELP_TEST_WRAP_PTHREAD(MutexTrylock, pthread_mutex_trylock, (pthread_mutex_t * mutex), (mutex))
KELP_TEST_WRAP_PTHREAD(MutexUnlock, pthread_mutex_unlock, (pthread_mutex_t * mutex), (mutex))
KELP_TEST_WRAP_PTHREAD(Sigmask, pthread_sigmask, (int how, const sigset_t* set, sigset_t* old), (how, set, old))
KELP_TEST_WRAP(Read, ssize_t, -1, read, (int fd, void* data, size_t size), (fd, data, size))
KELP_TEST_WRAP(Realloc, void*, nullptr, realloc, (void* block, size_t size), (block, size))
KELP_TEST_WRAP(Rename, int, -1, rename, (const char* from, const char* to), (from, to))
KELP_TEST_WRAP(Setvbuf, int, EOF, setvbuf, (FILE * stream, char* buffer, int mode, size_t size),
               (stream, buffer, mode, size))
KELP_TEST_WRAP(Sigaction, int, -1, sigaction, (int signal, const struct sigaction* action, struct sigaction* old),
               (signal, action, old))
KELP_TEST_WRAP(Sigpending, int, -1, sigpending, (sigset_t * set), (set))
KELP_TEST_WRAP(Sigtimedwait, int, -1, sigtimedwait, (const sigset_t* set, siginfo_t* info, const timespec* timeout),
               (set, info, timeout))
KELP_TEST_WRAP(Stat, int, -1, stat64, (const char* path, struct stat* status), (path, status))
KELP_TEST_WRAP(Sysconf, long, -1, sysconf, (int name), (name))
KELP_TEST_WRAP(TimerfdCreate, int, -1, timerfd_create, (int clock, int flags), (clock, flags))
KELP_TEST_WRAP(TimerfdSettime, int, -1, timerfd_settime, (int fd, int flags, const itimerspec* value, itimerspec* old),
               (fd, flags, value, old))
KELP_TEST_WRAP(Unlink, int, -1, unlink, (const char* path), (path))

extern "C" int __real_pthread_join(pthread_t thread, void** exitValue);
extern "C" int __wrap_pthread_join(pthread_t thread, void** exitValue);
extern "C" int __wrap_pthread_join(pthread_t thread, void** exitValue) {
  const int result = __real_pthread_join(thread, exitValue);
  const int error = takeFault(Call::ThreadJoin);
  return error != 0 ? error : result;
}

extern "C" mode_t __real_umask(mode_t mode);
extern "C" mode_t __wrap_umask(mode_t mode);
extern "C" mode_t __wrap_umask(mode_t mode) {
  takeFault(Call::Umask);
  return __real_umask(mode);
}

extern "C" void __real_free(void* block);
extern "C" void __wrap_free(void* block);
extern "C" void __wrap_free(void* block) {
  if (block != nullptr) {
    takeFault(Call::Free);
  }
  __real_free(block);
}

extern "C" void __real_sync();
extern "C" void __wrap_sync();
extern "C" void __wrap_sync() {
  if (takeFault(Call::Sync) == 0) {
    __real_sync();
  }
}

extern "C" ssize_t __real_readlink(const char* path, char* target, size_t size);
extern "C" ssize_t __wrap_readlink(const char* path, char* target, size_t size);
extern "C" ssize_t __wrap_readlink(const char* path, char* target, size_t size) {
  if (failsWithErrno(Call::Readlink)) {
    return -1;
  }
  const KelpTest::UncountedCalls own;
  const std::lock_guard<std::mutex> lock(KelpTest::s_textMutex);
  if (KelpTest::s_linkTarget == nullptr) {
    return __real_readlink(path, target, size);
  }
  return static_cast<ssize_t>(KelpTest::s_linkTarget->copy(target, size));
}

extern "C" int __real_system(const char* command);
extern "C" int __wrap_system(const char* command);
extern "C" int __wrap_system(const char* command) {
  {
    const KelpTest::UncountedCalls own;
    const std::lock_guard<std::mutex> lock(KelpTest::s_textMutex);
    KelpTest::s_lastSystemCommand = command;
  }
  return failsWithErrno(Call::System) ? -1 : __real_system(command);
}

extern "C" ssize_t __real_write(int fd, const void* data, size_t size);
extern "C" ssize_t __wrap_write(int fd, const void* data, size_t size);
extern "C" ssize_t __wrap_write(int fd, const void* data, size_t size) {
  if (failsWithErrno(Call::Write)) {
    return -1;
  }
  const int limit = KelpTest::s_writeLimit.load();
  const bool isCut = limit >= 0 && size > static_cast<size_t>(limit);
  return __real_write(fd, data, isCut ? static_cast<size_t>(limit) : size);
}

// The third argument is read whether or not the caller gave one: it is passed on and used only where it has a meaning.
extern "C" int __real_open64(const char* path, int flags, ...);
extern "C" int __wrap_open64(const char* path, int flags, ...);
extern "C" int __wrap_open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = static_cast<mode_t>(va_arg(arguments, unsigned int));
  va_end(arguments);
  return failsWithErrno(Call::Open) ? -1 : __real_open64(path, flags, mode);
}

extern "C" int __real_fcntl64(int fd, int command, ...);
extern "C" int __wrap_fcntl64(int fd, int command, ...);
extern "C" int __wrap_fcntl64(int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  return failsWithErrno(Call::Fcntl) ? -1 : __real_fcntl64(fd, command, argument);
}

// Likewise: as many arguments as the system takes at most.
extern "C" long __real_syscall(long number, ...);
extern "C" long __wrap_syscall(long number, ...);
extern "C" long __wrap_syscall(long number, ...) {
  long argument[6];
  va_list arguments;
  va_start(arguments, number);
  for (long& each : argument) {
    each = va_arg(arguments, long);
  }
  va_end(arguments);
  return failsWithErrno(Call::Syscall)
             ? -1
             : __real_syscall(number, argument[0], argument[1], argument[2], argument[3], argument[4], argument[5]);
}
