// Messages as bytes, made and taken apart by offset alone, and moved with plain system calls: what a peer that does not
// use the library would do.
#ifndef KELP_TESTS_IPC_WIRE_MESSAGE_H
#define KELP_TESTS_IPC_WIRE_MESSAGE_H

#include <stdint.h>

#include <string>
#include <vector>

namespace KelpTest {

using Bytes = std::vector<unsigned char>;

struct WireMessage {
  uint32_t kind;            // offset 0
  uint32_t sessionId;       // offset 4
  uint32_t srcAddressType;  // offset 8
  uint32_t srcSpecificId0;  // offset 12
  uint32_t srcSpecificId1;  // offset 16
  uint32_t dataSize;        // offset 20
  uint32_t reserved[2];     // offset 24
  std::string payload;      // offset 32
};

bool operator==(const WireMessage& left, const WireMessage& right);
void PrintTo(const WireMessage& message, std::ostream* out);

// With the payload's length as data size and reserved words of 0.
WireMessage makeMessage(uint32_t kind, uint32_t sessionId, uint32_t srcAddressType, uint32_t srcSpecificId0,
                        uint32_t srcSpecificId1, const std::string& payload);

Bytes toBytes(const WireMessage& message);

// One write; returns whether all of it was written.
bool writeBytes(int fd, const Bytes& bytes);
bool writeMessage(int fd, const WireMessage& message);

// One read for the head and one for the payload. Blocks where the descriptor does. Returns false when a read failed or
// brought less than a message.
bool readMessage(int fd, WireMessage& message);

// How many bytes wait in the FIFO.
int bytesWaiting(int fd);

// Opens a FIFO as its reader, created before where `create` is set: -1 with errno on failure. The descriptor does not
// block.
int openFifoForReading(const std::string& path, bool create = true);

}  // namespace KelpTest

#endif  // KELP_TESTS_IPC_WIRE_MESSAGE_H
