#include "ipc/SessionId.h"

namespace Kelp {

SessionId_t sessionIdAfter(SessionId_t last) {
  const SessionId_t next = last + 1;
  return next == INVALID_SESSION_ID ? 0 : next;
}

}  // namespace Kelp
