// The sessions of one IpcEventReceiver: which handler waits for which response, and until when.
//
// Threads: the thread of the receiver's loop only; responses are read, requests sent and time-outs delivered there. No
// locks.
#ifndef KELP_IPC_RESPONSE_DISPATCHER_H
#define KELP_IPC_RESPONSE_DISPATCHER_H

#include <map>

#include "IpcAddress.h"
#include "IpcData.h"
#include "IpcEventSender.h"
#include "IpcHeader.h"
#include "KelpExport.h"
#include "KelpObject.h"
#include "TimerService.h"

namespace Kelp {

class KELP_EXPORT ResponseDispatcher : public KelpObject, public TimerService::CyclicTimerObserver {
 public:
  ResponseDispatcher();
  // REQUIRES: no session with a time-out is pending, because its timer is not cancelled. Handlers may live on.
  ~ResponseDispatcher() override;
  ResponseDispatcher(const ResponseDispatcher&) = delete;
  ResponseDispatcher& operator=(const ResponseDispatcher&) = delete;

  // Has `handler` wait for the response to `sessionId`, `timeout` milliseconds or, with -1, without limit. Any other
  // time-out, and a session that is awaited already, end the process on an assertion.
  // REQUIRES, with a time-out: the calling thread runs a multi-wait loop, which delivers it.
  void addResponseHandler(SessionId_t sessionId, IpcEventSender::ResponseHandler& handler, int timeout);

  // Ends the session and passes the response to its handler. A response that nobody awaits is dropped, after a trace
  // line.
  void dispatch(SessionId_t sessionId, IpcAddress& srcIpcAddress, IpcDataResponse& data, int dataSize);

  // Ends all sessions of the handler, silently for it. `handler` may be under destruction.
  void removeResponseHandler(IpcEventSender::ResponseHandler& handler);

  // A session's time is up: ends it and tells its handler.
  void notifyCyclicTimer(TimerId_t timerId, int count) override;

 private:
  struct SessionInfo {
    IpcEventSender::ResponseHandler* handler;  // not owned: removes itself when it dies
    TimerId_t timerId;                         // INVALID_TIMER_ID: no time-out
  };

  std::map<SessionId_t, SessionInfo> m_sessionInfoMap;
};

}  // namespace Kelp

#endif  // KELP_IPC_RESPONSE_DISPATCHER_H
