// Makes the library log an error line and a trace line, and checks where they went: all to the platform's logger where
// there is one (KELP_TEST_HAS_LOGGER), else the error line alone to standard error. Ends with status 0 when that is so.
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdio.h>
#include <unistd.h>

#include <string>

#include "KelpObject.h"
#include "Mutex.h"
#include "PfLog.h"
#ifdef KELP_TEST_HAS_LOGGER
#include "foundation/programs/Logger.h"
#endif

namespace {

// What the library writes to standard error while it logs one line of each level.
std::string logBoth() {
  Kelp::Mutex mutex;
  int fds[2];
  const int savedStderr = dup(STDERR_FILENO);
  if (pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0 || dup2(fds[1], STDERR_FILENO) == -1) {
    return "no pipe";
  }
  mutex.lock();
  errno = ENOENT;
  mutex.trylock();
  Kelp::KelpObject::isObjectExist(nullptr);
  mutex.unlock();
  dup2(savedStderr, STDERR_FILENO);
  char text[4096];
  const ssize_t length = read(fds[0], text, sizeof(text));
  return length > 0 ? std::string(text, static_cast<size_t>(length)) : "";
}

#ifdef KELP_TEST_HAS_LOGGER
bool isRight(const std::string& written) {
  const auto& calls = KelpTest::loggedCalls();
  return written.empty() && calls.size() == 2 && calls[0].level == Kelp::kPfLogLevelError &&
         calls[0].format == "%05d:%X %s L:%d %s Mutex Lock Error (errno=%d)\n" &&
         calls[1].level == Kelp::kPfLogLevelTrace &&
         calls[1].format == "%05d:%X %s L:%d %s This object (%p) does NOT Exist.\n";
}
#else
bool isRight(const std::string& written) {
  char expected[200];
  snprintf(expected, sizeof(expected), "%05d:%X Mutex.cpp L:93 trylock Mutex Lock Error (errno=2)\n", getpid(),
           static_cast<unsigned int>(pthread_self()));
  return written == expected;
}
#endif

}  // namespace

int main() {
  const std::string written = logBoth();
  if (isRight(written)) {
    return 0;
  }
  fprintf(stderr, "standard error got: \"%s\"\n", written.c_str());
  return 1;
}
