// Removes what processes that were killed have left in the core's directory: request files of several MiB among it, in
// RAM. A process that ends by itself leaves nothing.
//
// Threads: the core's loop only.
#ifndef KELP_EXAMPLES_CORE_LEFT_FILES_H
#define KELP_EXAMPLES_CORE_LEFT_FILES_H

#include "EventLooperMultiWait.h"
#include "TimerService.h"

namespace KelpExample {

class LeftFiles : public Kelp::TimerService::CyclicTimerByMinutesObserver {
 public:
  // Removes at once what another core, its applications and their callers have left, and from then on, every minute,
  // what callers leave. REQUIRES: no other core is running.
  explicit LeftFiles(Kelp::EventLooperMultiWait& looper);
  ~LeftFiles() override;
  LeftFiles(const LeftFiles&) = delete;
  LeftFiles& operator=(const LeftFiles&) = delete;

  void notifyCyclicTimerByMinutes(Kelp::TimerId_t timerId, const timeval& now) override;

 private:
  const Kelp::TimerId_t m_timer;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_CORE_LEFT_FILES_H
