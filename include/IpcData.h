// Payloads of messages: opaque blocks of bytes whose layout is the business of the programs that exchange them.
//
// A reference to one of these types stands for the first byte of a block whose length, 0 to 4064 bytes, always travels
// beside it as an int. Whoever has bytes casts: `reinterpret_cast<IpcDataRequest&>(record)`. Where the length is 0
// there is nothing to read behind the reference.
#ifndef KELP_IPC_IPC_DATA_H
#define KELP_IPC_IPC_DATA_H

#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT IpcData {};

class KELP_EXPORT IpcDataRequest : public IpcData {};

class KELP_EXPORT IpcDataResponse : public IpcData {};

class KELP_EXPORT IpcDataOneWayRequest : public IpcData {};

}  // namespace Kelp

#endif  // KELP_IPC_IPC_DATA_H
