#include "EventReceiver.h"

namespace Kelp {

EventReceiver::EventReceiver(bool autoClose) : EventReceiver(-1, autoClose) {}

EventReceiver::EventReceiver(int fd, bool autoClose) : m_fdOperator(fd, autoClose), m_pEventLooperMultiWait(nullptr) {}

EventReceiver::~EventReceiver() = default;

int EventReceiver::getFd() const {
  return m_fdOperator.getFd();
}

void EventReceiver::setFd(int fd) {
  m_fdOperator.setFd(fd);
}

EventLooperMultiWait* EventReceiver::getEventLooperMultiWait() const {
  return m_pEventLooperMultiWait;
}

void EventReceiver::setEventLooperMultiWait(EventLooperMultiWait* looper) {
  m_pEventLooperMultiWait = looper;
}

FdOperator& EventReceiver::getFdOperator() {
  return m_fdOperator;
}

}  // namespace Kelp
