// The order in which session ids are issued.
#ifndef KELP_IPC_SESSION_ID_H
#define KELP_IPC_SESSION_ID_H

#include "IpcHeader.h"

namespace Kelp {

// The id to issue after `last`: one more, with INVALID_SESSION_ID skipped, so that 0xFFFFFFFE is followed by 0.
SessionId_t sessionIdAfter(SessionId_t last);

}  // namespace Kelp

#endif  // KELP_IPC_SESSION_ID_H
