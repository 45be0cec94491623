#include "ResponseDispatcher.h"

#include <stdint.h>

#include <algorithm>

#include "foundation/Diagnostics.h"

namespace Kelp {

namespace {

constexpr int64_t kNanosecondsPerMillisecond = 1000000;

// A session without a time-out can do without the timer service, too.
void cancelTimeout(TimerId_t timerId) {
  if (timerId != INVALID_TIMER_ID) {
    TimerService::getInstance().cancelTimer(timerId);
  }
}

}  // namespace

ResponseDispatcher::ResponseDispatcher() {
  setObjectType(ObjectType_ResponseDispatcher);
}

ResponseDispatcher::~ResponseDispatcher() = default;

void ResponseDispatcher::addResponseHandler(SessionId_t sessionId, IpcEventSender::ResponseHandler& handler,
                                            int timeout) {
  KELP_ASSERT(m_sessionInfoMap.find(sessionId) == m_sessionInfoMap.end(),
              "m_sessionInfoMap.find( sessionId ) == m_sessionInfoMap.end()");
  KELP_ASSERT(timeout == -1 || timeout > 0, "timeout == -1 || timeout > 0");
  TimerId_t timerId = INVALID_TIMER_ID;
  if (timeout != -1) {
    // On the calling thread's looper, which is the receiver's.
    timerId = TimerService::getInstance().startCyclicTimer(timeout * kNanosecondsPerMillisecond, 1, *this, nullptr);
  }
  m_sessionInfoMap[sessionId] = {&handler, timerId};
  handler.setResponseDispatcher(*this);
}

void ResponseDispatcher::dispatch(SessionId_t sessionId, IpcAddress& srcIpcAddress, IpcDataResponse& data,
                                  int dataSize) {
  const auto session = m_sessionInfoMap.find(sessionId);
  if (session == m_sessionInfoMap.end()) {
    KELP_LOG_TRACE("receive response already timed out(?): sessionId=%d\n", static_cast<int>(sessionId));
    return;
  }
  const SessionInfo info = session->second;
  cancelTimeout(info.timerId);
  m_sessionInfoMap.erase(session);
  info.handler->handleResponse(sessionId, srcIpcAddress, data, dataSize);
}

void ResponseDispatcher::removeResponseHandler(IpcEventSender::ResponseHandler& handler) {
  for (auto session = m_sessionInfoMap.begin(); session != m_sessionInfoMap.end();) {
    if (session->second.handler != &handler) {
      ++session;
      continue;
    }
    cancelTimeout(session->second.timerId);
    session = m_sessionInfoMap.erase(session);
    KELP_LOG_TRACE("remove ResponseHandler(%p)\n", static_cast<void*>(&handler));
  }
}

// The timer was a one-shot, which the timer service ends by itself: it must not be cancelled here.
void ResponseDispatcher::notifyCyclicTimer(TimerId_t timerId, int /*count*/) {
  const auto session = std::find_if(m_sessionInfoMap.begin(), m_sessionInfoMap.end(),
                                    [timerId](const auto& entry) { return entry.second.timerId == timerId; });
  KELP_ASSERT(session != m_sessionInfoMap.end(), "false");
  const SessionId_t sessionId = session->first;
  IpcEventSender::ResponseHandler* const handler = session->second.handler;
  m_sessionInfoMap.erase(session);
  KELP_LOG_TRACE("ResponseDispatcher session num=%d\n", static_cast<int>(m_sessionInfoMap.size()));
  KELP_LOG_TRACE("session timeout: sessionId=%d, timerId=%d\n", static_cast<int>(sessionId), timerId);
  handler->handleTimeoutError(sessionId);
}

}  // namespace Kelp
