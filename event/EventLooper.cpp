#include "EventLooper.h"

#include <new>

#include "Disposable.h"
#include "EventLooperMultiWait.h"
#include "Mutex.h"
#include "foundation/Diagnostics.h"
#include "foundation/RequireMemory.h"

namespace Kelp {

namespace {

struct RunningLoopers {
  Mutex m_mutex;  // guards the list, and that its members stay registered while it is searched
  std::list<EventLooper*, RequiringAllocator<EventLooper*>> m_loopers;
};

// Built on first use and never destroyed: static objects of the host may run loops too.
RunningLoopers& runningLoopers() {
  static auto* const s_runningLoopers = new (std::nothrow) RunningLoopers;
  requireMemory(s_runningLoopers);
  return *s_runningLoopers;
}

}  // namespace

EventLooper::EventLooper(EventLooperType type)
    : m_type(type), m_needsExit(false), m_threadId(pthread_t{}), m_isThreadIdValid(false) {}

EventLooper::~EventLooper() {
  emptyGarbageBox();
}

void EventLooper::runEventLoop() {
  KELP_ASSERT_AT(60, EventLooper::getRunningLooper() == nullptr, "__null == EventLooper::getRunningLooper()",
                 "void Kelp::EventLooper::runEventLoop()");
  registerAsRunning();
  while (!needsExit()) {
    processEvent();
    emptyGarbageBox();
  }
  unregister();
}

void EventLooper::exitEventLoop() {
  m_needsExit = true;
}

bool EventLooper::needsExit() const {
  return m_needsExit;
}

bool EventLooper::isRunning() const {
  return m_isThreadIdValid;
}

EventLooper::EventLooperType EventLooper::getEventLooperType() const {
  return m_type;
}

void EventLooper::disposeSafely(Disposable& disposable) {
  m_garbageBox.push_back(&disposable);
}

bool EventLooper::hasEqualThreadId(pthread_t id) {
  KELP_ASSERT_AT(177, m_isThreadIdValid, "m_isThreadIdValid", "bool Kelp::EventLooper::hasEqualThreadId(pthread_t)");
  return m_threadId == id;
}

EventLooper* EventLooper::getRunningLooper(pthread_t id) {
  RunningLoopers& running = runningLoopers();
  const Mutex::ScopedLock lock(running.m_mutex);
  for (EventLooper* looper : running.m_loopers) {
    if (looper->hasEqualThreadId(id)) {
      return looper;
    }
  }
  return nullptr;
}

EventLooper* EventLooper::getRunningLooper() {
  return getRunningLooper(pthread_self());
}

EventLooperMultiWait* EventLooper::getRunningLooperMultiWait() {
  EventLooper* looper = getRunningLooper();
  if (looper == nullptr || looper->getEventLooperType() != EVENT_LOOPER_TYPE_MULTI_WAIT) {
    return nullptr;
  }
  return static_cast<EventLooperMultiWait*>(looper);
}

void EventLooper::registerAsRunning() {
  RunningLoopers& running = runningLoopers();
  const Mutex::ScopedLock lock(running.m_mutex);
  m_threadId = pthread_self();
  m_isThreadIdValid = true;
  running.m_loopers.push_back(this);
}

void EventLooper::unregister() {
  RunningLoopers& running = runningLoopers();
  const Mutex::ScopedLock lock(running.m_mutex);
  m_isThreadIdValid = false;
  running.m_loopers.remove(this);
}

void EventLooper::emptyGarbageBox() {
  while (!m_garbageBox.empty()) {
    delete m_garbageBox.front();  // may append to the box
    m_garbageBox.pop_front();
  }
}

}  // namespace Kelp
