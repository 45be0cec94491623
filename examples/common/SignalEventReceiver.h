// Makes signals events of a loop: they are blocked for the thread and read from a descriptor instead, so that what they
// ask for happens between two callbacks and not in the middle of one.
#ifndef KELP_EXAMPLES_COMMON_SIGNAL_EVENT_RECEIVER_H
#define KELP_EXAMPLES_COMMON_SIGNAL_EVENT_RECEIVER_H

#include <initializer_list>

#include "EventReceiver.h"

namespace KelpExample {

class SignalEventReceiver : public Kelp::EventReceiver {
 public:
  class Observer {
   public:
    virtual ~Observer();

    // Called on the loop's thread. Signals of one number that came while one was pending are one call.
    virtual void handleSignal(int number) = 0;
  };

  // Blocks the signals on the calling thread, for good. To be built before the process has other threads: a thread
  // inherits what is blocked, and one that lets a signal through would get it in the usual way.
  SignalEventReceiver(std::initializer_list<int> signals, Observer& observer);
  ~SignalEventReceiver() override;

  void receiveAndExecuteEvent() override;

 private:
  Observer& m_observer;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_COMMON_SIGNAL_EVENT_RECEIVER_H
