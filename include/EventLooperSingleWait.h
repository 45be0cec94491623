// A looper that serves one receiver: it calls it over and over, and the receiver itself blocks until something arrives.
//
// Told to exit, the loop ends when the receiver's current call returns. To end it from another thread, send the
// receiver something that makes it return and tell the looper on its own thread, like an ExecObjectPthreadExit.
#ifndef KELP_EVENT_EVENT_LOOPER_SINGLE_WAIT_H
#define KELP_EVENT_EVENT_LOOPER_SINGLE_WAIT_H

#include "EventLooper.h"
#include "KelpExport.h"

namespace Kelp {

class EventReceiver;

class KELP_EXPORT EventLooperSingleWait : public EventLooper {
 public:
  // The receiver is not owned and must outlive the looper. Several loopers may serve one receiver, when it allows calls
  // on several threads at once.
  explicit EventLooperSingleWait(EventReceiver& receiver);
  ~EventLooperSingleWait() override;

  void processEvent() override;

 private:
  EventReceiver* const m_pEventReceiver;
};

}  // namespace Kelp

#endif  // KELP_EVENT_EVENT_LOOPER_SINGLE_WAIT_H
