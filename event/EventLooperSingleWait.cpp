#include "EventLooperSingleWait.h"

#include "EventReceiver.h"

namespace Kelp {

EventLooperSingleWait::EventLooperSingleWait(EventReceiver& receiver)
    : EventLooper(EVENT_LOOPER_TYPE_SINGLE_WAIT), m_pEventReceiver(&receiver) {
  setObjectType(ObjectType_EventLooperSingleWait);
}

EventLooperSingleWait::~EventLooperSingleWait() = default;

void EventLooperSingleWait::processEvent() {
  m_pEventReceiver->receiveAndExecuteEvent();
}

}  // namespace Kelp
