// The receiver that stands for none, so that a dispatch loop never meets a null pointer.
#ifndef KELP_EVENT_EVENT_RECEIVER_NULL_OBJECT_H
#define KELP_EVENT_EVENT_RECEIVER_NULL_OBJECT_H

#include "EventReceiver.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT EventReceiverNullObject : public EventReceiver {
 public:
  // The process's one instance, built on the first call and never destroyed. Can be called on any thread.
  static EventReceiverNullObject& getInstance();

  // Does nothing. Can be called on any thread.
  void receiveAndExecuteEvent() override;

 private:
  EventReceiverNullObject();
  ~EventReceiverNullObject() override;
};

}  // namespace Kelp

#endif  // KELP_EVENT_EVENT_RECEIVER_NULL_OBJECT_H
