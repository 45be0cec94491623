// How a record travels in a message: inside it when it fits, otherwise in a file that the message names.
//
// A payload starts with a 32-bit word in the machine's byte order:
//   1  the record's bytes follow
//   2  the path of a file follows, which holds the record's bytes
// The receiver of a named file removes it. The writer removes it when the message could not be sent, and when it gives
// up waiting.
//
// The path is one of the two that belong to the API client at one end of the conversation. A receiver opens no other:
// a message could otherwise make it read, and remove, any file.
#ifndef KELP_EXAMPLES_COMMON_PAYLOAD_H
#define KELP_EXAMPLES_COMMON_PAYLOAD_H

#include <stddef.h>

#include <string>

#include "common/Record.h"

namespace KelpExample {

constexpr size_t kMaxMessageBytes = 4064;      // what fits behind a message's header
constexpr size_t kMaxRecordBytes = 4u << 20u;  // more than any record that these programs make

// The paths of the files in which a client's request and the answer to its session travel.
std::string requestPayloadPath(int clientPid);
std::string responsePayloadPath(int clientPid, unsigned int sessionId);

// A record on its way out. Removes its file when it is destroyed before handOver().
class OutgoingPayload {
 public:
  // `filePath` is written only when the record does not fit into a message.
  OutgoingPayload(const Record& record, const std::string& filePath);
  ~OutgoingPayload();
  OutgoingPayload(const OutgoingPayload&) = delete;
  OutgoingPayload& operator=(const OutgoingPayload&) = delete;

  bool isValid() const;  // false when the file could not be written
  int size() const;      // of what goes into the message, 4 to kMaxMessageBytes

  // The message's bytes as the type that the library's send operations take.
  template <typename Data>
  Data& data() {
    return reinterpret_cast<Data&>(m_bytes[0]);
  }

  // The message has left: the file is its receiver's from now on.
  void handOver();

 private:
  std::string m_bytes;
  std::string m_filePath;  // empty: no file to remove
  bool m_isValid;
};

// Reads what a message holds or names. `clientPid` is the API client's at either end of the conversation; 0 where no
// client takes part, and no file is accepted. Returns false when the payload is malformed or its file cannot be read;
// a file that was opened is gone in either case.
bool readPayload(const void* data, int size, int clientPid, Record& record);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_COMMON_PAYLOAD_H
