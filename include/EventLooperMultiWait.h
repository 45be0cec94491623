// A looper that waits for any number of receivers, and can be handed work, and woken, by any thread.
//
// Threads: exitEventLoop() and the sender can be used on any thread; receivers are added and removed on the looper's
// own thread, or before it runs.
#ifndef KELP_EVENT_EVENT_LOOPER_MULTI_WAIT_H
#define KELP_EVENT_EVENT_LOOPER_MULTI_WAIT_H

#include "EventLooper.h"
#include "EventPoller.h"
#include "ExecObjectEventReceiver.h"
#include "KelpExport.h"

namespace Kelp {

class EventReceiver;
class ExecObjectEventSender;

class KELP_EXPORT EventLooperMultiWait : public EventLooper {
 public:
  // Ends the process when there is no descriptor for the channel. When there is none for the poller, or that does not
  // take the channel in, an error line is left, and nobody can hand work to the loop or wake it.
  EventLooperMultiWait();

  // Receivers that are still added are neither removed nor destroyed: their owners remove them first. Objects still in
  // the exec channel are neither executed nor deleted.
  ~EventLooperMultiWait() override;

  // Waits for the receiver too. It is not owned and must outlive its stay here. Returns false, after one error line,
  // when the kernel refuses (no descriptor, already added, out of memory).
  bool addEventReceiver(EventReceiver& receiver);

  // The receiver, whose descriptor must still be open, may be destroyed afterwards. Ends the dispatch of the current
  // pass: what was ready as well is reported again by the next wait.
  void removeEventReceiver(EventReceiver& receiver);

  // For handing work to this looper. Lives as long as the looper.
  ExecObjectEventSender& getExecObjectEventSender();

  // Waits, without time-out, and calls the receivers that are ready, up to 16, until one of them tells the loop to exit
  // or a receiver is removed.
  void processEvent() override;

  // Tells the loop to end and wakes it when it is another thread's. A loop that the flag ends first leaves the wake-up
  // object unread: it is never freed, one small block for the looper's whole life. When the channel refuses that
  // object, after one error line, a loop that waits ends with its next event: tell it once more.
  void exitEventLoop() override;

 private:
  EventPoller m_poller;
  ExecObjectEventReceiver m_execObjectEventReceiver;
};

}  // namespace Kelp

#endif  // KELP_EVENT_EVENT_LOOPER_MULTI_WAIT_H
