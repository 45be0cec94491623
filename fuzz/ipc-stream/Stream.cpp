#include "fuzz/ipc-stream/Stream.h"

#include <stdio.h>
#include <string.h>

#include "fuzz/support/Check.h"

using KelpTest::WireMessage;

namespace KelpFuzz {

namespace {

constexpr size_t kHeadSize = 32;
constexpr size_t kLargestPayload = 4064;

std::string sourcePath(const WireMessage& message) {
  char path[64];
  switch (message.srcAddressType) {
    case 0:
      snprintf(path, sizeof(path), "/tmp/Kelp/fifo%08X_%08X", message.srcSpecificId0, message.srcSpecificId1);
      return path;
    case 1:
      snprintf(path, sizeof(path), "/tmp/Kelp/fifo%08X", message.srcSpecificId0);
      return path;
    default:
      return "/tmp/Kelp/fifocore";
  }
}

}  // namespace

bool isDataSizeValid(uint32_t dataSize) {
  return dataSize <= kLargestPayload;
}

WireMessage takeMessage(Input& input, uint8_t form, const std::vector<uint32_t>& sessions) {
  WireMessage message = {};
  message.kind = (form & 7U) == 7 ? input.word() : form & 7U;
  message.srcAddressType = (form >> 3 & 3U) == 3 ? input.word() : form >> 3 & 3U;
  message.sessionId = (form & 0x20U) != 0 || sessions.empty() ? input.word() : sessions[input.byte() % sessions.size()];
  message.srcSpecificId0 = (form & 0x40U) != 0 ? input.word() : 0;
  message.srcSpecificId1 = (form & 0x40U) != 0 ? input.word() : 1;
  message.reserved[0] = message.reserved[1] = form;
  if ((form & 0x80U) != 0) {
    message.dataSize = input.word();
  }
  // A size that is no message's comes without a payload: the next message follows at once.
  if ((form & 0x80U) == 0 || isDataSizeValid(message.dataSize)) {
    message.payload = input.text().substr(0, kLargestPayload);
    message.dataSize = static_cast<uint32_t>(message.payload.size());
  }
  return message;
}

bool operator==(const Told& left, const Told& right) {
  return left.kind == right.kind && left.source == right.source && left.sessionId == right.sessionId &&
         left.payload == right.payload;
}

std::ostream& operator<<(std::ostream& out, const Told& told) {
  return out << "kind " << told.kind << " from " << told.source << ", session " << told.sessionId << ": "
             << shown(told.payload);
}

Told toldOf(const WireMessage& message) {
  const uint32_t sessionId = message.kind == kOneWayRequest ? 0 : message.sessionId;
  return {message.kind, sourcePath(message), sessionId, message.payload};
}

bool Stream::hasMessage() const {
  return m_bytes.size() >= kHeadSize && m_bytes.size() >= kHeadSize + payloadSize();
}

WireMessage Stream::take() {
  WireMessage message = {wordAt(0), wordAt(4), wordAt(8), wordAt(12), wordAt(16), wordAt(20), {0, 0}, ""};
  message.payload = m_bytes.substr(kHeadSize, payloadSize());
  m_bytes.erase(0, kHeadSize + message.payload.size());
  return message;
}

uint32_t Stream::wordAt(size_t offset) const {
  uint32_t word = 0;
  memcpy(&word, &m_bytes[offset], sizeof(word));
  return word;
}

size_t Stream::payloadSize() const {
  const uint32_t size = wordAt(20);
  return isDataSizeValid(size) ? size : 0;
}

}  // namespace KelpFuzz
