// Sends requests, responses and one-way requests to one peer, with this side's own address as their source.
//
// A request opens a session: its handler waits in the ResponseDispatcher of the IpcEventReceiver that the sender was
// built on, until the response comes, its time-out expires or the handler is destroyed, whichever is first.
//
// Threads: responses and one-way requests can be sent on any thread. Requests are sent on the thread of the receiver's
// own loop, and response handlers are destroyed there: the sessions have no lock, and a response must not be read
// before its session is known.
#ifndef KELP_IPC_IPC_EVENT_SENDER_H
#define KELP_IPC_IPC_EVENT_SENDER_H

#include "IpcAddress.h"
#include "IpcData.h"
#include "IpcHeader.h"
#include "IpcSender.h"
#include "KelpExport.h"
#include "KelpObject.h"
#include "KelpReturnCode.h"

namespace Kelp {

class IpcEventReceiver;
class ResponseDispatcher;

class KELP_EXPORT IpcEventSender : public KelpObject {
 public:
  // What becomes of requests. One handler may wait for any number of responses, all through one receiver. It is told of
  // each session exactly once; the session is over by then, so it may send again, or delete itself, inside the call.
  // REQUIRES: lives until its sessions are over, or is destroyed on the receiver's loop thread, which abandons them. It
  // may outlive the receiver.
  class KELP_EXPORT ResponseHandler {
   public:
    ResponseHandler();
    virtual ~ResponseHandler();  // abandons the sessions that still wait; their late responses are dropped

    // The response to the request `sessionId` has come. `data` (dataSize bytes, 0 to 4064) and the address live until
    // the call returns: copy what is to be kept.
    virtual void handleResponse(SessionId_t sessionId, IpcAddress& srcIpcAddress, IpcDataResponse& data,
                                int dataSize) = 0;

    // No response came in time. Does nothing unless overridden.
    virtual void handleTimeoutError(SessionId_t sessionId);

    // Called by the dispatcher that the handler waits in.
    void setResponseDispatcher(ResponseDispatcher& responseDispatcher);

   private:
    ResponseDispatcher* m_pResponseDispatcher;  // null until the first request; may be dead, the object registry knows
  };

  // Both open the peer's FIFO at once: the peer must have created it (IpcSender). The addresses are copied.
  // The first form takes the receiver's address as its own and may send requests, whose responses come through that
  // receiver, which must outlive the sender's last request. The second is for answers and one-way requests.
  IpcEventSender(const IpcAddress& dstIpcAddress, IpcEventReceiver& ipcEventReceiver);
  IpcEventSender(const IpcAddress& dstIpcAddress, const IpcAddress& srcIpcAddress);
  ~IpcEventSender() override;  // pending sessions go on without it
  IpcEventSender(const IpcEventSender&) = delete;
  IpcEventSender& operator=(const IpcEventSender&) = delete;

  // An id that differs from those issued before, until all 2^32 - 1 have been: 1, 2, ..., 0xFFFFFFFE, 0, 1, ...
  // Can be called on any thread.
  static SessionId_t createSessionId();

  // All four send at once and never block. Data sizes are 0 to 4064 bytes (else the process ends, see IpcSender).
  // They return 0 "OK", or 14 "File Access Error" when the message was not sent.

  // Stores the session's id in `sessionId` and has `handler` wait for the response, `timeout` milliseconds (above 0)
  // or, with -1, without limit. When the message was not sent, `sessionId` is INVALID_SESSION_ID and no handler waits.
  // REQUIRES: a sender built on a receiver, on that receiver's loop thread; with a time-out, the TimerService.
  CommonReturnCode_t sendRequest(IpcDataRequest& data, int dataSize, ResponseHandler& handler, SessionId_t& sessionId,
                                 int timeout);

  // Answers the request that came with `sessionId`.
  CommonReturnCode_t sendResponse(SessionId_t sessionId, IpcDataResponse& data, int dataSize);

  // Answers with a message of its own kind and without payload. An IpcEventReceiver does not accept it: only for peers
  // that read their FIFO by other means.
  CommonReturnCode_t sendResponseError(SessionId_t sessionId);

  CommonReturnCode_t sendOneWayRequest(IpcDataOneWayRequest& data, int dataSize);

 private:
  KELP_LOCAL CommonReturnCode_t sendMessage(IpcMessageKind kind, SessionId_t sessionId, IpcData& data, int dataSize);

  IpcAddress* m_pDstIpcAddress;           // owned
  IpcAddress* m_pSrcIpcAddress;           // owned
  IpcEventReceiver* m_pIpcEventReceiver;  // null where the sender may not send requests
  IpcSender m_ipcSender;
};

}  // namespace Kelp

#endif  // KELP_IPC_IPC_EVENT_SENDER_H
