#include "ipc/WireMessage.h"

#include <fcntl.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ostream>

namespace KelpTest {

namespace {

constexpr size_t kHeadSize = 32;
constexpr uint32_t kMaxPayloadSize = 4064;

void putWord(Bytes& bytes, size_t offset, uint32_t word) {
  memcpy(&bytes[offset], &word, 4);
}

uint32_t wordAt(const Bytes& bytes, size_t offset) {
  uint32_t word = 0;
  memcpy(&word, &bytes[offset], 4);
  return word;
}

bool readBytes(int fd, void* buffer, size_t size) {
  return read(fd, buffer, size) == static_cast<ssize_t>(size);
}

}  // namespace

bool operator==(const WireMessage& left, const WireMessage& right) {
  return toBytes(left) == toBytes(right);
}

void PrintTo(const WireMessage& message, std::ostream* out) {
  *out << "kind " << message.kind << ", session " << message.sessionId << ", source " << message.srcAddressType << " "
       << std::hex << message.srcSpecificId0 << " " << message.srcSpecificId1 << std::dec << ", " << message.dataSize
       << " bytes, reserved " << message.reserved[0] << " " << message.reserved[1] << ": " << message.payload;
}

WireMessage makeMessage(uint32_t kind, uint32_t sessionId, uint32_t srcAddressType, uint32_t srcSpecificId0,
                        uint32_t srcSpecificId1, const std::string& payload) {
  return {kind,   sessionId, srcAddressType, srcSpecificId0, srcSpecificId1, static_cast<uint32_t>(payload.size()),
          {0, 0}, payload};
}

Bytes toBytes(const WireMessage& message) {
  Bytes bytes(kHeadSize + message.payload.size());
  putWord(bytes, 0, message.kind);
  putWord(bytes, 4, message.sessionId);
  putWord(bytes, 8, message.srcAddressType);
  putWord(bytes, 12, message.srcSpecificId0);
  putWord(bytes, 16, message.srcSpecificId1);
  putWord(bytes, 20, message.dataSize);
  putWord(bytes, 24, message.reserved[0]);
  putWord(bytes, 28, message.reserved[1]);
  std::copy(message.payload.begin(), message.payload.end(), bytes.begin() + kHeadSize);
  return bytes;
}

bool writeBytes(int fd, const Bytes& bytes) {
  return write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
}

bool writeMessage(int fd, const WireMessage& message) {
  return writeBytes(fd, toBytes(message));
}

bool readMessage(int fd, WireMessage& message) {
  Bytes head(kHeadSize);
  if (!readBytes(fd, head.data(), kHeadSize)) {
    return false;
  }
  message = {wordAt(head, 0),
             wordAt(head, 4),
             wordAt(head, 8),
             wordAt(head, 12),
             wordAt(head, 16),
             wordAt(head, 20),
             {wordAt(head, 24), wordAt(head, 28)},
             ""};
  if (message.dataSize > kMaxPayloadSize) {
    return false;
  }
  message.payload.resize(message.dataSize);
  return message.dataSize == 0 || readBytes(fd, &message.payload[0], message.dataSize);
}

int bytesWaiting(int fd) {
  int count = -1;
  ioctl(fd, FIONREAD, &count);
  return count;
}

int openFifoForReading(const std::string& path, bool create) {
  if (create && mkfifo(path.c_str(), 0600) != 0) {
    return -1;
  }
  return open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

}  // namespace KelpTest
