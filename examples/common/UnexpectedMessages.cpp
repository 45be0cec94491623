#include "common/UnexpectedMessages.h"

#include "common/Answer.h"
#include "common/Note.h"

namespace KelpExample {

UnexpectedMessages::UnexpectedMessages(const Kelp::IpcAddress& self) : m_self(self) {}
UnexpectedMessages::~UnexpectedMessages() = default;

void UnexpectedMessages::handleRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataRequest& /*data*/,
                                       int /*dataSize*/, Kelp::SessionId_t sessionId) {
  note("unexpected request from %s", srcIpcAddress.getFifoFilePath().c_str());
  sendAnswer(srcIpcAddress, m_self, sessionId, Kelp::CommonReturnCode_NotSupported, Record());
}

void UnexpectedMessages::handleOneWayRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataOneWayRequest& /*data*/,
                                             int /*dataSize*/) {
  note("unexpected message from %s", srcIpcAddress.getFifoFilePath().c_str());
}

}  // namespace KelpExample
