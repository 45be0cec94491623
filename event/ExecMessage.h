// What travels through an exec channel: the address of one ExecObject in the process's own form, one pointer wide and
// written in one piece. The pipe never leaves the process.
#ifndef KELP_EVENT_EXEC_MESSAGE_H
#define KELP_EVENT_EXEC_MESSAGE_H

#include "ExecObject.h"

namespace Kelp {

using ExecMessage = ExecObject*;

// NOLINTNEXTLINE(bugprone-sizeof-expression): the pointer itself travels
constexpr int kExecMessageSize = static_cast<int>(sizeof(ExecMessage));

}  // namespace Kelp

#endif  // KELP_EVENT_EXEC_MESSAGE_H
