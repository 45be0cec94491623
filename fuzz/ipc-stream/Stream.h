// What lies in the receiver's FIFO, byte by byte, and what the receiver is to make of it.
#ifndef KELP_FUZZ_STREAM_H
#define KELP_FUZZ_STREAM_H

#include <stddef.h>
#include <stdint.h>

#include <ostream>
#include <string>
#include <vector>

#include "fuzz/support/Input.h"
#include "tests/ipc/WireMessage.h"

namespace KelpFuzz {

constexpr uint32_t kOneWayRequest = 0;
constexpr uint32_t kRequest = 1;
constexpr uint32_t kResponse = 2;
constexpr unsigned int kSourceTypes = 3;

bool isDataSizeValid(uint32_t dataSize);

// Takes a message. The bits of its form:
//   0 to 2   the kind; 7 is a word's
//   3 and 4  the type of the source; 3 is a word's
//   5        the session is a word's; else it is one of `sessions`, by a byte, where there are any
//   6        the source's identity is two words
//   7        the data size is a word's, unless a message may have that: then it is the payload's, as otherwise
KelpTest::WireMessage takeMessage(Input& input, uint8_t form, const std::vector<uint32_t>& sessions);

// What a handler is told of a message.
struct Told {
  uint32_t kind;
  std::string source;  // path of its FIFO
  uint32_t sessionId;  // not of a one-way request
  std::string payload;
};

bool operator==(const Told& left, const Told& right);
std::ostream& operator<<(std::ostream& out, const Told& told);

// REQUIRES: a source of one of the three types.
Told toldOf(const KelpTest::WireMessage& message);

class Stream {
 public:
  void write(const std::string& bytes) { m_bytes += bytes; }
  size_t size() const { return m_bytes.size(); }

  // Whether the next message is there to its end. The receiver would wait for what is missing.
  bool hasMessage() const;

  // The next one; where its size is no message's, its head. REQUIRES: hasMessage().
  KelpTest::WireMessage take();

 private:
  uint32_t wordAt(size_t offset) const;
  size_t payloadSize() const;

  std::string m_bytes;
};

}  // namespace KelpFuzz

#endif  // KELP_FUZZ_STREAM_H
