// The floor's messages: the same bytes through the same kind of FIFO, by plain system calls.
#ifndef KELP_BENCH_SUPPORT_FIFO_H
#define KELP_BENCH_SUPPORT_FIFO_H

#include <fcntl.h>
#include <stdint.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "support/Comparison.h"

namespace KelpBench {

constexpr int kHeaderSize = 32;
constexpr int kMaxMessageSize = 4096;

struct PlainHeader {
  int32_t kind;
  uint32_t sessionId;
  int32_t source[3];
  int32_t dataSize;
  uint32_t reserved[2];
};
static_assert(sizeof(PlainHeader) == kHeaderSize, "as Kelp's");

// Made and opened by its reader, as Kelp does: reading never sees an end.
class FifoReader {
 public:
  explicit FifoReader(std::string path) : m_path(std::move(path)) {
    require(mkfifo(m_path.c_str(), 0666) == 0, "mkfifo");
    m_fd = open(m_path.c_str(), O_RDWR | O_CLOEXEC);
    require(m_fd != -1, "open");
  }
  ~FifoReader() {
    unlink(m_path.c_str());
    close(m_fd);
  }
  FifoReader(const FifoReader&) = delete;
  FifoReader& operator=(const FifoReader&) = delete;

  int fd() const { return m_fd; }
  const PlainHeader& header() const { return m_header; }
  const char* data() const { return m_data; }

  // One message in two reads: the header says how much follows.
  void receive() {
    require(read(m_fd, &m_header, kHeaderSize) == kHeaderSize, "read header");
    require(read(m_fd, m_data, static_cast<size_t>(m_header.dataSize)) == m_header.dataSize, "read payload");
  }

 private:
  std::string m_path;
  int m_fd;
  PlainHeader m_header;
  char m_data[kMaxMessageSize - kHeaderSize];
};

class FifoWriter {
 public:
  explicit FifoWriter(const std::string& path) : m_fd(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) {
    require(m_fd != -1, "open");
  }
  ~FifoWriter() { close(m_fd); }
  FifoWriter(const FifoWriter&) = delete;
  FifoWriter& operator=(const FifoWriter&) = delete;

  // One message in one write, put together from a header and a payload that lies elsewhere.
  void send(const PlainHeader& header, const void* data) {
    memcpy(m_message, &header, kHeaderSize);
    memcpy(m_message + kHeaderSize, data, static_cast<size_t>(header.dataSize));
    const int size = kHeaderSize + header.dataSize;
    require(write(m_fd, m_message, static_cast<size_t>(size)) == size, "write message");
  }

 private:
  int m_fd;
  char m_message[kMaxMessageSize];
};

}  // namespace KelpBench

#endif  // KELP_BENCH_SUPPORT_FIFO_H
