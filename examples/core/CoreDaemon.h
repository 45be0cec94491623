// The core daemon: one loop on the core's FIFO and on signals, the applications, and the web API's methods. What would
// hold the loop up is done by the worker threads.
#ifndef KELP_EXAMPLES_CORE_CORE_DAEMON_H
#define KELP_EXAMPLES_CORE_CORE_DAEMON_H

#include "EventLooperMultiWait.h"
#include "IpcAddressCore.h"
#include "IpcEventReceiver.h"
#include "common/SignalEventReceiver.h"
#include "common/UnexpectedMessages.h"
#include "core/ApplicationTable.h"
#include "core/LeftFiles.h"
#include "core/PackageUpdates.h"
#include "core/WebApiMethods.h"

namespace KelpExample {

class CoreDaemon : public Kelp::IpcEventReceiver::RequestHandler,
                   public Kelp::IpcEventReceiver::OneWayRequestHandler,
                   public SignalEventReceiver::Observer {
 public:
  // The core's FIFO path must be free, and the timer service must exist.
  CoreDaemon();
  ~CoreDaemon() override;
  CoreDaemon(const CoreDaemon&) = delete;
  CoreDaemon& operator=(const CoreDaemon&) = delete;

  // REQUIRES: the worker service exists, and was created behind this object.
  // Returns true when SIGTERM or SIGINT has come and all applications and updates have ended; false, at once, when the
  // FIFO could not be made.
  bool run();

  void handleRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataRequest& data, int dataSize,
                     Kelp::SessionId_t sessionId) override;
  void handleOneWayRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataOneWayRequest& data, int dataSize) override;
  void handleSignal(int number) override;

 private:
  void setHandlers();
  void beginShutdown();
  void reapApplications();
  void exitWhenDone();

  const Kelp::IpcAddressCore m_address;
  Kelp::EventLooperMultiWait m_looper;
  LeftFiles m_leftFiles;
  ApplicationTable m_applications;
  PackageUpdates m_updates;
  WebApiMethods m_methods;
  UnexpectedMessages m_unexpectedMessages;
  SignalEventReceiver m_signalEventReceiver;  // before the FIFO: no signal may end the process and leave it behind
  Kelp::IpcEventReceiver m_ipcEventReceiver;  // behind all that its handlers use
  bool m_isReceiving;
  bool m_isShuttingDown = false;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_CORE_CORE_DAEMON_H
