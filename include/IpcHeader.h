// The fixed head of every message between processes: eight 32-bit words in the machine's byte order, followed by
// dataSize bytes of payload. docs/ describes the format byte by byte.
#ifndef KELP_IPC_IPC_HEADER_H
#define KELP_IPC_IPC_HEADER_H

#include <stdint.h>

#include "IpcAddress.h"

namespace Kelp {

// Pairs a response with its request.
using SessionId_t = uint32_t;

// Never issued: stands in one-way requests and is what a failed IpcEventSender::sendRequest returns.
constexpr SessionId_t INVALID_SESSION_ID = 0xFFFFFFFF;

// Travels in message headers: the numbers never change.
enum IpcMessageKind : int32_t {
  IpcMessageKind_OneWayRequest = 0,
  IpcMessageKind_Request = 1,
  IpcMessageKind_Response = 2,
  IpcMessageKind_ResponseError = 3,
};

struct IpcSrcSpecificId_Api {
  int32_t pid;
};

// The two identifiers of an application instance, in the order of its FIFO's name.
struct IpcSrcSpecificId_App {
  int32_t firstId;
  int32_t secondId;
};

// The sender's identity; the source address type tells which member holds. The core has none and writes a marker.
union IpcSrcSpecificId {
  IpcSrcSpecificId_Api api;
  IpcSrcSpecificId_App app;
  uint32_t words[2];
};

struct IpcHeader {
  IpcMessageKind kind;
  SessionId_t sessionId;
  IpcAddressType srcAddressType;
  IpcSrcSpecificId srcSpecificId;
  int32_t dataSize;      // bytes of payload behind the header: 0 to 4064
  uint32_t reserved[2];  // sent as 0, never read
};

}  // namespace Kelp

#endif  // KELP_IPC_IPC_HEADER_H
