// Sizes of a message on the wire, and the proof that IpcHeader is its head as it stands.
#ifndef KELP_IPC_WIRE_FORMAT_H
#define KELP_IPC_WIRE_FORMAT_H

#include <stddef.h>

#include <type_traits>

#include "IpcHeader.h"

namespace Kelp {

// What a FIFO takes in one piece, so that the messages of several writers never mix.
constexpr int kMaxMessageSize = 4096;
constexpr int kHeaderSize = static_cast<int>(sizeof(IpcHeader));
constexpr int kMaxDataSize = kMaxMessageSize - kHeaderSize;

constexpr bool isDataSizeValid(int dataSize) {
  return 0 <= dataSize && dataSize <= kMaxDataSize;
}

static_assert(std::is_trivially_copyable<IpcHeader>::value, "headers are copied byte by byte");
static_assert(sizeof(IpcHeader) == 32 && sizeof(IpcSrcSpecificId) == 8, "the header has no padding");
static_assert(offsetof(IpcHeader, kind) == 0, "word 0");
static_assert(offsetof(IpcHeader, sessionId) == 4, "word 1");
static_assert(offsetof(IpcHeader, srcAddressType) == 8, "word 2");
static_assert(offsetof(IpcHeader, srcSpecificId) == 12, "words 3 and 4");
static_assert(offsetof(IpcHeader, dataSize) == 20, "word 5");
static_assert(offsetof(IpcHeader, reserved) == 24, "words 6 and 7");

}  // namespace Kelp

#endif  // KELP_IPC_WIRE_FORMAT_H
