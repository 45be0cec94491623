#include "common/Answer.h"

#include "IpcAddressApi.h"
#include "IpcData.h"
#include "IpcEventSender.h"
#include "common/Note.h"
#include "common/Payload.h"
#include "common/WebApi.h"

namespace KelpExample {

int clientPidOf(const Kelp::IpcAddress& peer) {
  if (peer.getIpcAddressType() != Kelp::IpcAddressType_Api) {
    return 0;
  }
  return static_cast<const Kelp::IpcAddressApi&>(peer).getPid();
}

void sendAnswer(const Kelp::IpcAddress& receiver, const Kelp::IpcAddress& self, Kelp::SessionId_t sessionId,
                Kelp::CommonReturnCode_t code, const Record& results) {
  Record answer;
  answer.putDecimal(kReturnCode, code);
  answer.append(results);
  OutgoingPayload payload(answer, responsePayloadPath(clientPidOf(receiver), sessionId));
  if (!payload.isValid()) {
    note("the answer to session %u cannot be written", sessionId);
    return;
  }
  Kelp::IpcEventSender sender(receiver, self);
  if (sender.sendResponse(sessionId, payload.data<Kelp::IpcDataResponse>(), payload.size()) !=
      Kelp::CommonReturnCode_Ok) {
    note("nobody takes the answer to session %u", sessionId);
    return;
  }
  payload.handOver();
}

}  // namespace KelpExample
