// Makes calls of the C library fail, and counts them. Every test program is linked so that the calls listed here reach
// a wrapper first, whoever makes them.
//
// Threads: faults and counts are the process's, not the thread's: arm a fault as late as possible.
#ifndef KELP_TESTS_SUPPORT_CALL_FAULTS_H
#define KELP_TESTS_SUPPORT_CALL_FAULTS_H

#include <functional>
#include <string>

namespace KelpTest {

// X(enumerator, function)
#define KELP_TEST_CALLS(X)                        \
  X(Chmod, chmod)                                 \
  X(Chown, chown)                                 \
  X(Close, close)                                 \
  X(CtimeR, ctime_r)                              \
  X(Dup, dup)                                     \
  X(EpollCreate, epoll_create)                    \
  X(EpollCreate1, epoll_create1)                  \
  X(EpollCtl, epoll_ctl)                          \
  X(EpollWait, epoll_wait)                        \
  X(Fclose, fclose)                               \
  X(Fcntl, fcntl)                                 \
  X(Fopen, fopen)                                 \
  X(Fputs, fputs)                                 \
  X(Fread, fread)                                 \
  X(Free, free)                                   \
  X(Fstat, fstat)                                 \
  X(Fwrite, fwrite)                               \
  X(Gettimeofday, gettimeofday)                   \
  X(JsonArrayAdd, json_object_array_add)          \
  X(JsonGetString, json_object_get_string)        \
  X(JsonNewArray, json_object_new_array)          \
  X(JsonNewObject, json_object_new_object)        \
  X(JsonNewString, json_object_new_string)        \
  X(JsonObjectAdd, json_object_object_add)        \
  X(JsonToString, json_object_to_json_string_ext) \
  X(JsonParse, json_tokener_parse)                \
  X(LocaltimeR, localtime_r)                      \
  X(Lseek, lseek)                                 \
  X(Malloc, malloc)                               \
  X(Mkfifo, mkfifo)                               \
  X(Mmap, mmap)                                   \
  X(Munmap, munmap)                               \
  X(Open, open)                                   \
  X(Pipe2, pipe2)                                 \
  X(AttrInit, pthread_attr_init)                  \
  X(AttrSetstacksize, pthread_attr_setstacksize)  \
  X(ThreadCreate, pthread_create)                 \
  X(ThreadJoin, pthread_join)                     \
  X(MutexDestroy, pthread_mutex_destroy)          \
  X(MutexInit, pthread_mutex_init)                \
  X(MutexLock, pthread_mutex_lock)                \
  X(MutexTrylock, pthread_mutex_trylock)          \
  X(MutexUnlock, pthread_mutex_unlock)            \
  X(MutexAttrInit, pthread_mutexattr_init)        \
  X(Sigmask, pthread_sigmask)                     \
  X(Read, read)                                   \
  X(Readlink, readlink)                           \
  X(Realloc, realloc)                             \
  X(Rename, rename)                               \
  X(Setvbuf, setvbuf)                             \
  X(Sigaction, sigaction)                         \
  X(Sigpending, sigpending)                       \
  X(Sigtimedwait, sigtimedwait)                   \
  X(Stat, stat)                                   \
  X(Sync, sync)                                   \
  X(Syscall, syscall)                             \
  X(Sysconf, sysconf)                             \
  X(System, system)                               \
  X(TimerfdCreate, timerfd_create)                \
  X(TimerfdSettime, timerfd_settime)              \
  X(Umask, umask)                                 \
  X(Unlink, unlink)                               \
  X(Write, write)

enum class Call {
#define KELP_TEST_ENUMERATOR(enumerator, function) enumerator,
  KELP_TEST_CALLS(KELP_TEST_ENUMERATOR)
#undef KELP_TEST_ENUMERATOR
};

// "read", for messages.
const char* nameOf(Call call);

// While it lives: `skip` calls go through, the next `times` fail with errno `error` (a pthread call returns it; a call
// that has no failure, like umask and free, is only counted, and sync does nothing), all later ones go through. The
// result of a failing call is the one that its library documents: -1, null, MAP_FAILED, EOF or, for fread and fwrite,
// 0. What releases something (close, fclose, munmap, pthread_join) does so all the same, as it does when the system
// fails it. One fault per call at a time.
class CallFault {
 public:
  CallFault(Call call, int error, int skip = 0, int times = 1);
  ~CallFault();
  CallFault(const CallFault&) = delete;
  CallFault& operator=(const CallFault&) = delete;

  int hits() const;  // how many calls have failed so far

 private:
  Call m_call;
};

// While it lives, the calling thread's calls are the test's own business: they neither count nor fail.
class UncountedCalls {
 public:
  UncountedCalls();
  ~UncountedCalls();
  UncountedCalls(const UncountedCalls&) = delete;
  UncountedCalls& operator=(const UncountedCalls&) = delete;

  static bool areHeld();  // by the calling thread
};

// How often the process has called it since it started, failed calls included. Releasing a null pointer is no call.
int callCount(Call call);

// The command that system() was last called with, failed calls included; empty when there was none.
std::string lastSystemCommand();

// While it lives, every symbolic link seems to point to `target`.
class LinkTarget {
 public:
  explicit LinkTarget(std::string target);
  ~LinkTarget();
  LinkTarget(const LinkTarget&) = delete;
  LinkTarget& operator=(const LinkTarget&) = delete;
};

// While it lives, a write of more than `limit` bytes writes only `limit`, as a full disk or a pipe may.
class ShortWrites {
 public:
  explicit ShortWrites(int limit);
  ~ShortWrites();
};

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_CALL_FAULTS_H
