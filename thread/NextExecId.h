// Which id follows another.
#ifndef KELP_THREAD_NEXT_EXEC_ID_H
#define KELP_THREAD_NEXT_EXEC_ID_H

#include "WorkerThreadService.h"

namespace Kelp {

// One more; from 2147483647 on to -2147483648.
constexpr WorkerThreadExecId_t nextExecId(WorkerThreadExecId_t id) {
  return static_cast<WorkerThreadExecId_t>(static_cast<uint32_t>(id) + 1);
}

}  // namespace Kelp

#endif  // KELP_THREAD_NEXT_EXEC_ID_H
