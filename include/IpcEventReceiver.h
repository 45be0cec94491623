// Makes a process's FIFO an event source of its loop: reads each message and passes it to the handler set for its kind
// and for the kind of its sender.
//
// Threads: built and filled with handlers before it is added to a loop; from then on that loop's thread only. Handlers
// run there, one message at a time, and must not block for long.
#ifndef KELP_IPC_IPC_EVENT_RECEIVER_H
#define KELP_IPC_IPC_EVENT_RECEIVER_H

#include "EventReceiver.h"
#include "IpcAddress.h"
#include "IpcData.h"
#include "IpcEventSender.h"
#include "IpcHeader.h"
#include "IpcReceiver.h"
#include "KelpExport.h"
#include "KelpObject.h"
#include "ResponseDispatcher.h"

namespace Kelp {

class KELP_EXPORT IpcEventReceiver : public EventReceiver {
 public:
  // The payload (dataSize bytes, 0 to 4064) and the source address that a handler is given live until it returns: it
  // copies what it keeps. Handlers must outlive the receiver.
  class KELP_EXPORT RequestHandler {
   public:
    RequestHandler();
    virtual ~RequestHandler();

    // Answers, now or later, through an IpcEventSender on the source address, with this session id.
    virtual void handleRequest(IpcAddress& srcIpcAddress, IpcDataRequest& data, int dataSize,
                               SessionId_t sessionId) = 0;
  };

  class KELP_EXPORT OneWayRequestHandler {
   public:
    OneWayRequestHandler();
    virtual ~OneWayRequestHandler();

    virtual void handleOneWayRequest(IpcAddress& srcIpcAddress, IpcDataOneWayRequest& data, int dataSize) = 0;
  };

  // One handler for each kind of sender. Each is set once and for good: a second one, or a kind that does not exist,
  // ends the process on an assertion; so does a message from a kind of sender for which none was set.
  class KELP_EXPORT RequestDispatcher : public KelpObject {
   public:
    RequestDispatcher();
    ~RequestDispatcher() override;
    RequestDispatcher(const RequestDispatcher&) = delete;
    RequestDispatcher& operator=(const RequestDispatcher&) = delete;

    void setRequestHandler(IpcAddressType srcAddressType, RequestHandler& handler);
    void dispatch(IpcAddress& srcIpcAddress, IpcDataRequest& data, int dataSize, SessionId_t sessionId);

   private:
    RequestHandler* m_pHandler[IpcAddressType_Max];  // not owned
  };

  class KELP_EXPORT OneWayRequestDispatcher : public KelpObject {
   public:
    OneWayRequestDispatcher();
    ~OneWayRequestDispatcher() override;
    OneWayRequestDispatcher(const OneWayRequestDispatcher&) = delete;
    OneWayRequestDispatcher& operator=(const OneWayRequestDispatcher&) = delete;

    void setOneWayRequestHandler(IpcAddressType srcAddressType, OneWayRequestHandler& handler);
    void dispatch(IpcAddress& srcIpcAddress, IpcDataOneWayRequest& data, int dataSize);

   private:
    OneWayRequestHandler* m_pHandler[IpcAddressType_Max];  // not owned
  };

  // Creates and opens the FIFO of `ipcAddress`, which is copied. Failures are logged (IpcReceiver); the loop then
  // refuses the receiver.
  explicit IpcEventReceiver(const IpcAddress& ipcAddress);

  // Removes the FIFO. REQUIRES: removed from its loop, and no request with a time-out pending.
  ~IpcEventReceiver() override;
  IpcEventReceiver(const IpcEventReceiver&) = delete;
  IpcEventReceiver& operator=(const IpcEventReceiver&) = delete;

  // The served address; stays the receiver's.
  IpcAddress& getIpcAddress();

  void setRequestHandler(IpcAddressType srcAddressType, RequestHandler& handler);
  void setOneWayRequestHandler(IpcAddressType srcAddressType, OneWayRequestHandler& handler);

  // Called by IpcEventSender::sendRequest; see ResponseDispatcher.
  void addResponseHandler(SessionId_t sessionId, IpcEventSender::ResponseHandler& handler, int timeout);

  // Reads one message, blocking until all of it is there, and has its handler called. A message that cannot be read is
  // dropped, with error lines. An unknown kind, among them the error response, or an unknown kind of sender ends the
  // process on an assertion.
  void receiveAndExecuteEvent() override;

 private:
  IpcAddress* m_pIpcAddress;  // owned
  IpcReceiver m_ipcReceiver;  // keeps a descriptor of its own: the loop polls, and closes, a duplicate
  OneWayRequestDispatcher m_oneWayRequestDispatcher;
  RequestDispatcher m_requestDispatcher;
  ResponseDispatcher m_responseDispatcher;
};

}  // namespace Kelp

#endif  // KELP_IPC_IPC_EVENT_RECEIVER_H
