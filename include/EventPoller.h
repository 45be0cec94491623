// The epoll set of one multi-wait looper.
//
// poll() blocks until some of the added receivers are readable; the looper then takes the ready ones by index. Removing
// a receiver empties the ready list, so one that was removed during a pass is never touched again and may be destroyed:
// what the others have left undone is reported by the next wait, which is level-triggered.
//
// Threads: the owning looper's thread only; receivers may be added before its loop starts. No locks.
#ifndef KELP_EVENT_EVENT_POLLER_H
#define KELP_EVENT_EVENT_POLLER_H

#include <sys/epoll.h>

#include "KelpExport.h"
#include "KelpObject.h"

namespace Kelp {

class EventReceiver;

class KELP_EXPORT EventPoller : public KelpObject {
 public:
  // When the kernel gives no descriptor, one error line is logged and every later call fails.
  EventPoller();
  ~EventPoller() override;  // closes the epoll descriptor; the receivers stay their owners' business

  EventPoller(const EventPoller&) = delete;
  EventPoller& operator=(const EventPoller&) = delete;

  // Watches the receiver's descriptor for input. The receiver must outlive its stay in the poller.
  // Returns false, after one error line, when the kernel refuses (no descriptor, already added, out of memory).
  bool addEventReceiver(EventReceiver& receiver);

  // Stops watching the receiver's descriptor, which must still be open, and empties the ready list, also when the
  // removal fails, which is logged.
  void removeEventReceiver(EventReceiver& receiver);

  // Blocks, without time-out, until at least one receiver is readable; a signal does not end the wait.
  // Returns how many are ready (1 to 16), or -1 after one error line.
  int poll();

  // The i-th receiver that the last poll() found ready, or the null object when there is none: i out of range, a failed
  // wait, or a removal since.
  EventReceiver& getReadyEventReceiver(int i);

 private:
  static constexpr int kMaxReadyEvents = 16;

  int m_epollFd;                          // -1 when creation failed
  epoll_event m_events[kMaxReadyEvents];  // what the last wait reported
  int m_readyCount;                       // -1: nothing may be taken from m_events
};

}  // namespace Kelp

#endif  // KELP_EVENT_EVENT_POLLER_H
