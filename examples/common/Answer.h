// Answers a request that came through the process's FIFO.
#ifndef KELP_EXAMPLES_COMMON_ANSWER_H
#define KELP_EXAMPLES_COMMON_ANSWER_H

#include "IpcAddress.h"
#include "IpcHeader.h"
#include "KelpReturnCode.h"
#include "common/Record.h"

namespace KelpExample {

// The process id of an API client, 0 for any other kind of peer.
int clientPidOf(const Kelp::IpcAddress& peer);

// `results` follow the code in the answer. An answer that cannot be delivered is dropped after a note: its receiver has
// gone, or does not read.
void sendAnswer(const Kelp::IpcAddress& receiver, const Kelp::IpcAddress& self, Kelp::SessionId_t sessionId,
                Kelp::CommonReturnCode_t code, const Record& results);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_COMMON_ANSWER_H
