#include "ExecObjectEventSender.h"

#include "event/ExecMessage.h"
#include "foundation/Diagnostics.h"

namespace Kelp {

ExecObjectEventSender::ExecObjectEventSender(int fd) : m_fdOperator(fd, true) {
  setObjectType(ObjectType_ExecObjectEventSender);
}

ExecObjectEventSender::~ExecObjectEventSender() = default;

int ExecObjectEventSender::getFd() const {
  return m_fdOperator.getFd();
}

void ExecObjectEventSender::send(ExecObject& object) {
  ExecMessage message = &object;
  if (m_fdOperator.write(&message, kExecMessageSize) != kExecMessageSize) {
    KELP_LOG_ERROR_AT(50, "###ERROR###\n");
  }
}

}  // namespace Kelp
