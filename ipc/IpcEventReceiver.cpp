#include "IpcEventReceiver.h"

#include <fcntl.h>

#include <memory>

#include "SysFunc.h"
#include "foundation/Diagnostics.h"

namespace Kelp {

namespace {

constexpr const char* kSourceTypeExists = "0 <= srcAddressType && srcAddressType < IpcAddressType_Max";

bool isSourceType(IpcAddressType type) {
  return 0 <= type && type < IpcAddressType_Max;
}

struct PayloadRelease {
  void operator()(IpcData* data) const { SysFunc::kelpFree(data); }
};

// A message without payload still needs something that its handler's reference can refer to.
template <typename Data>
Data& payloadOf(IpcData* data) {
  static Data s_noData;
  return data != nullptr ? *static_cast<Data*>(data) : s_noData;
}

}  // namespace

IpcEventReceiver::RequestHandler::RequestHandler() = default;

IpcEventReceiver::RequestHandler::~RequestHandler() = default;

IpcEventReceiver::OneWayRequestHandler::OneWayRequestHandler() = default;

IpcEventReceiver::OneWayRequestHandler::~OneWayRequestHandler() = default;

IpcEventReceiver::RequestDispatcher::RequestDispatcher() : m_pHandler() {
  setObjectType(ObjectType_RequestDispatcher);
}

IpcEventReceiver::RequestDispatcher::~RequestDispatcher() = default;

void IpcEventReceiver::RequestDispatcher::setRequestHandler(IpcAddressType srcAddressType, RequestHandler& handler) {
  KELP_ASSERT(isSourceType(srcAddressType), kSourceTypeExists);
  KELP_ASSERT(m_pHandler[srcAddressType] == nullptr, "m_pHandler[ srcAddressType ] == __null");
  m_pHandler[srcAddressType] = &handler;
}

void IpcEventReceiver::RequestDispatcher::dispatch(IpcAddress& srcIpcAddress, IpcDataRequest& data, int dataSize,
                                                   SessionId_t sessionId) {
  RequestHandler* const handler = m_pHandler[srcIpcAddress.getIpcAddressType()];
  KELP_ASSERT(handler != nullptr, "m_pHandler[ srcIpcAddress.getIpcAddressType() ] != __null");
  handler->handleRequest(srcIpcAddress, data, dataSize, sessionId);
}

IpcEventReceiver::OneWayRequestDispatcher::OneWayRequestDispatcher() : m_pHandler() {
  setObjectType(ObjectType_OneWayRequestDispatcher);
}

IpcEventReceiver::OneWayRequestDispatcher::~OneWayRequestDispatcher() = default;

void IpcEventReceiver::OneWayRequestDispatcher::setOneWayRequestHandler(IpcAddressType srcAddressType,
                                                                        OneWayRequestHandler& handler) {
  KELP_ASSERT(isSourceType(srcAddressType), kSourceTypeExists);
  KELP_ASSERT(m_pHandler[srcAddressType] == nullptr, "m_pHandler[ srcAddressType ] == __null");
  m_pHandler[srcAddressType] = &handler;
}

void IpcEventReceiver::OneWayRequestDispatcher::dispatch(IpcAddress& srcIpcAddress, IpcDataOneWayRequest& data,
                                                         int dataSize) {
  OneWayRequestHandler* const handler = m_pHandler[srcIpcAddress.getIpcAddressType()];
  KELP_ASSERT(handler != nullptr, "m_pHandler[ srcIpcAddress.getIpcAddressType() ] != __null");
  handler->handleOneWayRequest(srcIpcAddress, data, dataSize);
}

IpcEventReceiver::IpcEventReceiver(const IpcAddress& ipcAddress)
    : EventReceiver(true), m_pIpcAddress(ipcAddress.clone()), m_ipcReceiver(m_pIpcAddress->getFifoFilePath()) {
  setObjectType(ObjectType_IpcEventReceiver);
  setFd(fcntl(m_ipcReceiver.getFd(), F_DUPFD_CLOEXEC, 0));
}

IpcEventReceiver::~IpcEventReceiver() {
  delete m_pIpcAddress;
}

IpcAddress& IpcEventReceiver::getIpcAddress() {
  return *m_pIpcAddress;
}

void IpcEventReceiver::setRequestHandler(IpcAddressType srcAddressType, RequestHandler& handler) {
  m_requestDispatcher.setRequestHandler(srcAddressType, handler);
}

void IpcEventReceiver::setOneWayRequestHandler(IpcAddressType srcAddressType, OneWayRequestHandler& handler) {
  m_oneWayRequestDispatcher.setOneWayRequestHandler(srcAddressType, handler);
}

void IpcEventReceiver::addResponseHandler(SessionId_t sessionId, IpcEventSender::ResponseHandler& handler,
                                          int timeout) {
  m_responseDispatcher.addResponseHandler(sessionId, handler, timeout);
}

void IpcEventReceiver::receiveAndExecuteEvent() {
  IpcHeader header;
  IpcData* data = nullptr;
  if (m_ipcReceiver.receive(header, data, -1) != CommonReturnCode_Ok) {
    KELP_LOG_ERROR("###ERROR###\n");
    return;
  }
  const std::unique_ptr<IpcData, PayloadRelease> payload(data);
  const std::unique_ptr<IpcAddress> src(IpcAddress::createIpcAddress(header));
  if (src == nullptr) {
    KELP_LOG_ERROR("###ERROR###\n");
    return;
  }
  switch (header.kind) {
    case IpcMessageKind_Request:
      m_requestDispatcher.dispatch(*src, payloadOf<IpcDataRequest>(data), header.dataSize, header.sessionId);
      break;
    case IpcMessageKind_Response:
      m_responseDispatcher.dispatch(header.sessionId, *src, payloadOf<IpcDataResponse>(data), header.dataSize);
      break;
    case IpcMessageKind_OneWayRequest:
      m_oneWayRequestDispatcher.dispatch(*src, payloadOf<IpcDataOneWayRequest>(data), header.dataSize);
      break;
    default:  // error responses among them: only peers that read their FIFO by other means take those
      KELP_FAIL("false");
  }
}

}  // namespace Kelp
