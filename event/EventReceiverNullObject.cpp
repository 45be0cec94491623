#include "EventReceiverNullObject.h"

namespace Kelp {

EventReceiverNullObject& EventReceiverNullObject::getInstance() {
  static auto* const s_pThis = new EventReceiverNullObject;
  return *s_pThis;
}

void EventReceiverNullObject::receiveAndExecuteEvent() {}

EventReceiverNullObject::EventReceiverNullObject() : EventReceiver(true) {
  setObjectType(ObjectType_EventReceiverNullObject);
}

EventReceiverNullObject::~EventReceiverNullObject() = default;

}  // namespace Kelp
