#include "IpcEventSender.h"

#include <new>

#include "IpcEventReceiver.h"
#include "Mutex.h"
#include "ResponseDispatcher.h"
#include "foundation/Diagnostics.h"
#include "foundation/ObjectRegistry.h"
#include "ipc/SessionId.h"

namespace Kelp {

namespace {

SessionId_t s_nextSessionId = 0;  // the last one issued, despite its name; guarded by sessionIdMutex()

// Built on first use, without an allocation, and never destroyed: static objects of the host may send too.
Mutex& sessionIdMutex() {
  alignas(Mutex) static unsigned char storage[sizeof(Mutex)];
  static Mutex* const s_mutex = new (storage) Mutex;
  return *s_mutex;
}

bool isAlive(const ResponseDispatcher* responseDispatcher) {
  KelpObject::ObjectType type = KelpObject::ObjectType_None;
  return ObjectRegistry::getInstance().find(responseDispatcher, type) &&
         type == KelpObject::ObjectType_ResponseDispatcher;
}

}  // namespace

IpcEventSender::ResponseHandler::ResponseHandler() : m_pResponseDispatcher(nullptr) {}

// A dispatcher that has died, and perhaps left its place to another one, has no session of this handler any more.
IpcEventSender::ResponseHandler::~ResponseHandler() {
  if (m_pResponseDispatcher != nullptr && isAlive(m_pResponseDispatcher)) {
    m_pResponseDispatcher->removeResponseHandler(*this);
  }
}

void IpcEventSender::ResponseHandler::handleTimeoutError(SessionId_t /*sessionId*/) {}

void IpcEventSender::ResponseHandler::setResponseDispatcher(ResponseDispatcher& responseDispatcher) {
  m_pResponseDispatcher = &responseDispatcher;
}

IpcEventSender::IpcEventSender(const IpcAddress& dstIpcAddress, IpcEventReceiver& ipcEventReceiver)
    : m_pDstIpcAddress(dstIpcAddress.clone()),
      m_pSrcIpcAddress(ipcEventReceiver.getIpcAddress().clone()),
      m_pIpcEventReceiver(&ipcEventReceiver),
      m_ipcSender(m_pDstIpcAddress->getFifoFilePath()) {
  setObjectType(ObjectType_IpcEventSender);
}

IpcEventSender::IpcEventSender(const IpcAddress& dstIpcAddress, const IpcAddress& srcIpcAddress)
    : m_pDstIpcAddress(dstIpcAddress.clone()),
      m_pSrcIpcAddress(srcIpcAddress.clone()),
      m_pIpcEventReceiver(nullptr),
      m_ipcSender(m_pDstIpcAddress->getFifoFilePath()) {
  setObjectType(ObjectType_IpcEventSender);
}

IpcEventSender::~IpcEventSender() {
  delete m_pDstIpcAddress;
  delete m_pSrcIpcAddress;
}

SessionId_t IpcEventSender::createSessionId() {
  Mutex::ScopedLock lock(sessionIdMutex());
  s_nextSessionId = sessionIdAfter(s_nextSessionId);
  return s_nextSessionId;
}

CommonReturnCode_t IpcEventSender::sendRequest(IpcDataRequest& data, int dataSize, ResponseHandler& handler,
                                               SessionId_t& sessionId, int timeout) {
  KELP_ASSERT(m_pIpcEventReceiver != nullptr, "m_pIpcEventReceiver != __null");
  sessionId = createSessionId();
  const CommonReturnCode_t result = sendMessage(IpcMessageKind_Request, sessionId, data, dataSize);
  if (result != CommonReturnCode_Ok) {
    sessionId = INVALID_SESSION_ID;
    return result;
  }
  m_pIpcEventReceiver->addResponseHandler(sessionId, handler, timeout);
  return CommonReturnCode_Ok;
}

CommonReturnCode_t IpcEventSender::sendResponse(SessionId_t sessionId, IpcDataResponse& data, int dataSize) {
  return sendMessage(IpcMessageKind_Response, sessionId, data, dataSize);
}

CommonReturnCode_t IpcEventSender::sendResponseError(SessionId_t sessionId) {
  IpcData noData;
  return sendMessage(IpcMessageKind_ResponseError, sessionId, noData, 0);
}

CommonReturnCode_t IpcEventSender::sendOneWayRequest(IpcDataOneWayRequest& data, int dataSize) {
  return sendMessage(IpcMessageKind_OneWayRequest, INVALID_SESSION_ID, data, dataSize);
}

CommonReturnCode_t IpcEventSender::sendMessage(IpcMessageKind kind, SessionId_t sessionId, IpcData& data,
                                               int dataSize) {
  IpcHeader header{};
  header.kind = kind;
  header.sessionId = sessionId;
  header.dataSize = dataSize;
  m_pSrcIpcAddress->fillInSourceAddress(header);
  return m_ipcSender.send(header, data);
}

}  // namespace Kelp
