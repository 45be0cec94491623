#include "core/CoreDaemon.h"

#include <signal.h>
#include <sys/wait.h>

#include "IpcData.h"
#include "common/Answer.h"
#include "common/Note.h"
#include "common/Payload.h"

namespace KelpExample {

CoreDaemon::CoreDaemon()
    : m_leftFiles(m_looper),
      m_applications(m_address),
      m_updates([this] { exitWhenDone(); }),
      m_methods(m_applications, m_updates),
      m_unexpectedMessages(m_address),
      m_signalEventReceiver({SIGTERM, SIGINT, SIGCHLD}, *this),
      m_ipcEventReceiver(m_address) {
  setHandlers();
  m_isReceiving = m_looper.addEventReceiver(m_ipcEventReceiver);
  m_looper.addEventReceiver(m_signalEventReceiver);
}

CoreDaemon::~CoreDaemon() {
  m_looper.removeEventReceiver(m_signalEventReceiver);
  if (m_isReceiving) {
    m_looper.removeEventReceiver(m_ipcEventReceiver);
  }
}

bool CoreDaemon::run() {
  if (!m_isReceiving) {
    note("%s cannot be made", m_address.getFifoFilePath().c_str());
    return false;
  }
  note("serving %zu applications", m_applications.all().size());
  m_looper.runEventLoop();
  return true;
}

// API clients ask, applications report; whatever else arrives is answered politely.
void CoreDaemon::setHandlers() {
  m_ipcEventReceiver.setRequestHandler(Kelp::IpcAddressType_Api, *this);
  m_ipcEventReceiver.setRequestHandler(Kelp::IpcAddressType_App, m_unexpectedMessages);
  m_ipcEventReceiver.setRequestHandler(Kelp::IpcAddressType_Core, m_unexpectedMessages);
  m_ipcEventReceiver.setOneWayRequestHandler(Kelp::IpcAddressType_App, *this);
  m_ipcEventReceiver.setOneWayRequestHandler(Kelp::IpcAddressType_Api, m_unexpectedMessages);
  m_ipcEventReceiver.setOneWayRequestHandler(Kelp::IpcAddressType_Core, m_unexpectedMessages);
}

void CoreDaemon::handleRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataRequest& data, int dataSize,
                               Kelp::SessionId_t sessionId) {
  Record request;
  if (!readPayload(&data, dataSize, clientPidOf(srcIpcAddress), request)) {
    sendAnswer(srcIpcAddress, m_address, sessionId, Kelp::CommonReturnCode_InvalidProtocol, Record());
    return;
  }
  m_methods.handle(std::make_unique<WebApiCall>(srcIpcAddress, m_address, sessionId, request));
}

void CoreDaemon::handleOneWayRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataOneWayRequest& data, int dataSize) {
  const Application* application = m_applications.findByAddress(srcIpcAddress);
  Record report;
  if (application == nullptr || !readPayload(&data, dataSize, 0, report)) {
    m_unexpectedMessages.handleOneWayRequest(srcIpcAddress, data, dataSize);
    return;
  }
  application->process()->takeReport(report);
}

void CoreDaemon::handleSignal(int number) {
  if (number == SIGCHLD) {
    reapApplications();
  } else {
    beginShutdown();
  }
}

void CoreDaemon::beginShutdown() {
  note("shutting down");
  m_isShuttingDown = true;
  m_methods.beginShutdown();
  for (const auto& application : m_applications.all()) {
    if (application->process() != nullptr) {
      application->process()->stop(nullptr);
    }
  }
  exitWhenDone();
}

// One SIGCHLD may stand for several children. Those that are no application are a worker's, which waits for the command
// that it runs: not to be taken away from it.
void CoreDaemon::reapApplications() {
  int waitStatus;
  for (const auto& application : m_applications.all()) {
    const ApplicationProcess* const process = application->process();
    if (process != nullptr && waitpid(process->getPid(), &waitStatus, WNOHANG) > 0) {
      application->handleEnd(waitStatus);
    }
  }
  exitWhenDone();
}

void CoreDaemon::exitWhenDone() {
  if (m_isShuttingDown && !m_applications.isAnyRunning() && m_updates.isIdle()) {
    m_looper.exitEventLoop();
  }
}

}  // namespace KelpExample
