#include "EventPoller.h"

#include <errno.h>
#include <unistd.h>

#include "EventReceiver.h"
#include "EventReceiverNullObject.h"
#include "foundation/Diagnostics.h"

namespace Kelp {

namespace {

constexpr int kNothingReady = -1;

epoll_event inputEventOf(EventReceiver& receiver) {
  epoll_event event = {};
  event.events = EPOLLIN;
  event.data.ptr = &receiver;
  return event;
}

}  // namespace

EventPoller::EventPoller() : m_epollFd(-1), m_events{}, m_readyCount(kNothingReady) {
  setObjectType(ObjectType_EventPoller);
  m_epollFd = ::epoll_create1(EPOLL_CLOEXEC);
  if (m_epollFd < 0) {
    KELP_LOG_ERROR_AT(36, "###ERROR###\n");
  }
}

EventPoller::~EventPoller() {
  if (m_epollFd >= 0 && ::close(m_epollFd) == -1) {
    KELP_LOG_ERROR_AT(49, "###ERROR###\n");
  }
}

bool EventPoller::addEventReceiver(EventReceiver& receiver) {
  epoll_event event = inputEventOf(receiver);
  if (::epoll_ctl(m_epollFd, EPOLL_CTL_ADD, receiver.getFd(), &event) == -1) {
    KELP_LOG_ERROR_AT(65, "###ERROR### epoll_ctl(EPOLL_CTL_ADD) returns error. (errno=%d)\n", errno);
    return false;
  }
  return true;
}

void EventPoller::removeEventReceiver(EventReceiver& receiver) {
  epoll_event event = inputEventOf(receiver);  // ignored, but kernels before 2.6.9 wanted one
  if (::epoll_ctl(m_epollFd, EPOLL_CTL_DEL, receiver.getFd(), &event) == -1) {
    KELP_LOG_ERROR_AT(84, "###ERROR###\n");
  }
  m_readyCount = kNothingReady;
}

int EventPoller::poll() {
  do {
    m_readyCount = ::epoll_wait(m_epollFd, m_events, kMaxReadyEvents, -1);
  } while (m_readyCount == -1 && errno == EINTR);
  if (m_readyCount == -1) {
    KELP_LOG_ERROR_AT(111, "###ERROR### errno = %d\n", errno);
  }
  return m_readyCount;
}

EventReceiver& EventPoller::getReadyEventReceiver(int i) {
  if (i < 0 || i >= m_readyCount) {
    return EventReceiverNullObject::getInstance();
  }
  return *static_cast<EventReceiver*>(m_events[i].data.ptr);
}

}  // namespace Kelp
