#include "fuzz/ipc-stream/Clock.h"

#include <fcntl.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <map>

#include "fuzz/support/Check.h"

namespace KelpFuzz {

namespace {

constexpr int64_t kSecond = 1000000000;

struct Timer {
  int64_t expiry;
  itimerspec spec;
  bool isOver;
};

int64_t s_now = 0;
int64_t s_lastPeriod = 0;

// By descriptor. One that has been closed is armed in vain or, when it is another timer's, was entered anew.
std::map<int, Timer>& timers() {
  static auto* const s_timers = new std::map<int, Timer>;
  return *s_timers;
}

int64_t nanosecondsOf(const timespec& time) {
  return time.tv_sec * kSecond + time.tv_nsec;
}

void enter(int fd, const itimerspec& spec) {
  FUZZ_CHECK_EQ(nanosecondsOf(spec.it_value), nanosecondsOf(spec.it_interval));
  FUZZ_CHECK(nanosecondsOf(spec.it_value) > 0);
  s_lastPeriod = nanosecondsOf(spec.it_interval);
  timers()[fd] = {s_now + s_lastPeriod, spec, false};
}

}  // namespace

}  // namespace KelpFuzz

// The linker names the two so.
extern "C" int __real_timerfd_settime(int fd, int flags, const itimerspec* spec, itimerspec* old);
extern "C" int __wrap_timerfd_settime(int fd, int flags, const itimerspec* spec, itimerspec* old);
extern "C" int __wrap_timerfd_settime(int fd, int flags, const itimerspec* spec, itimerspec* /*old*/) {
  FUZZ_CHECK_EQ(flags, 0);
  KelpFuzz::enter(fd, *spec);
  return 0;
}

namespace KelpFuzz {

void Clock::reset() {
  s_now = 0;
  timers().clear();
}

int64_t Clock::now() {
  return s_now;
}

void Clock::pass(int64_t time) {
  s_now += time;
  for (auto& [fd, timer] : timers()) {
    if (timer.isOver || timer.expiry > s_now) {
      continue;
    }
    timer.isOver = true;
    itimerspec spec = timer.spec;
    spec.it_value = {0, 1};
    __real_timerfd_settime(fd, 0, &spec, nullptr);
  }
}

int64_t Clock::lastPeriod() {
  return s_lastPeriod;
}

bool Clock::isWithoutTimers() {
  return std::all_of(timers().begin(), timers().end(),
                     [](const auto& timer) { return fcntl(timer.first, F_GETFD) == -1; });
}

}  // namespace KelpFuzz
