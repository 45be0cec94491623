#include "ExecObjectEventReceiver.h"

#include <fcntl.h>
#include <unistd.h>

#include "ExecObjectEventSender.h"
#include "event/ExecMessage.h"
#include "foundation/Diagnostics.h"

namespace Kelp {

ExecObjectEventReceiver::ExecObjectEventReceiver() : EventReceiver(true) {
  setObjectType(ObjectType_ExecObjectEventReceiver);
  int fds[2];
  KELP_ASSERT_AT(36, ::pipe2(fds, O_CLOEXEC) != -1, "false",
                 "Kelp::ExecObjectEventReceiver::ExecObjectEventReceiver()");
  setFd(fds[0]);
  m_pSender = std::make_unique<ExecObjectEventSender>(fds[1]);
}

ExecObjectEventReceiver::~ExecObjectEventReceiver() = default;

ExecObjectEventSender& ExecObjectEventReceiver::getSender() {
  return *m_pSender;
}

void ExecObjectEventReceiver::receiveAndExecuteEvent() {
  ExecMessage message = nullptr;
  if (getFdOperator().read(&message, kExecMessageSize, -1) != kExecMessageSize) {
    KELP_LOG_ERROR_AT(61, "###ERROR###\n");
    return;
  }
  const std::unique_ptr<ExecObject> object(message);
  if (object) {
    object->doExecute();
  }
}

}  // namespace Kelp
