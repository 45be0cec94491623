#include "EventLooperMultiWait.h"

#include "EventReceiver.h"
#include "ExecObjectDoNothing.h"
#include "ExecObjectEventSender.h"
#include "foundation/Diagnostics.h"

namespace Kelp {

EventLooperMultiWait::EventLooperMultiWait() : EventLooper(EVENT_LOOPER_TYPE_MULTI_WAIT) {
  setObjectType(ObjectType_EventLooperMultiWait);
  addEventReceiver(m_execObjectEventReceiver);
}

EventLooperMultiWait::~EventLooperMultiWait() {
  m_poller.removeEventReceiver(m_execObjectEventReceiver);
}

bool EventLooperMultiWait::addEventReceiver(EventReceiver& receiver) {
  if (!m_poller.addEventReceiver(receiver)) {
    return false;
  }
  receiver.setEventLooperMultiWait(this);
  return true;
}

void EventLooperMultiWait::removeEventReceiver(EventReceiver& receiver) {
  m_poller.removeEventReceiver(receiver);
  receiver.setEventLooperMultiWait(nullptr);
}

ExecObjectEventSender& EventLooperMultiWait::getExecObjectEventSender() {
  return m_execObjectEventReceiver.getSender();
}

void EventLooperMultiWait::processEvent() {
  const int readyCount = m_poller.poll();
  if (readyCount < 0) {
    KELP_LOG_ERROR_AT(93, "###ERROR###\n");
    return;
  }
  for (int i = 0; i < readyCount && !needsExit(); i++) {
    m_poller.getReadyEventReceiver(i).receiveAndExecuteEvent();
  }
}

void EventLooperMultiWait::exitEventLoop() {
  EventLooper::exitEventLoop();
  if (getRunningLooper() == this) {
    return;
  }
  KELP_LOG_TRACE_AT(51, "send ExecObjectDoNothing\n");
  getExecObjectEventSender().send(*new ExecObjectDoNothing);
}

}  // namespace Kelp
