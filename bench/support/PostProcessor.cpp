#include "support/PostProcessor.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <malloc.h>
#include <microhttpd.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/Comparison.h"

namespace KelpBench {

namespace {

constexpr std::size_t kPiece = 65536;
constexpr int kSmallBlock = 128 * 1024;  // what glibc starts with: larger blocks come from the kernel and go back to it
constexpr int kLargeBlock = 32 * 1024 * 1024;

// Called when the headers are in. The body never comes, so that the connection stays as it is.
MHD_Result keepConnection(void* connection, MHD_Connection* arrived, const char* /*url*/, const char* /*method*/,
                          const char* /*version*/, const char* /*data*/, size_t* /*dataSize*/, void** /*request*/) {
  *static_cast<MHD_Connection**>(connection) = arrived;
  return MHD_YES;
}

MHD_Result keepValue(void* values, MHD_ValueKind /*kind*/, const char* /*key*/, const char* /*fileName*/,
                     const char* /*contentType*/, const char* /*encoding*/, const char* data, uint64_t /*offset*/,
                     size_t size) {
  auto& kept = *static_cast<std::string*>(values);
  const char* const end = data + size;
  while (data != end) {
    const auto* const lineFeed = static_cast<const char*>(memchr(data, '\n', static_cast<size_t>(end - data)));
    const char* const lineEnd = lineFeed == nullptr ? end : lineFeed;
    const bool hasReturn = lineEnd != data && lineEnd[-1] == '\r';
    kept.append(data, hasReturn ? lineEnd - 1 : lineEnd);
    data = lineFeed == nullptr ? end : lineFeed + 1;
  }
  return MHD_YES;
}

void setKeptBlocks(ValueMemory memory) {
  const int size = memory == ValueMemory::Fresh ? kSmallBlock : kLargeBlock;
  require(mallopt(M_MMAP_THRESHOLD, size) == 1 && mallopt(M_TRIM_THRESHOLD, size) == 1, "mallopt");
}

sockaddr_in loopback(uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int connectTo(uint16_t port) {
  const int socketFd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = loopback(port);
  require(connect(socketFd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0, "connect");
  return socketFd;
}

}  // namespace

PostProcessor::PostProcessor(const std::string& boundary) : m_pConnection(nullptr) {
  const sockaddr_in address = loopback(0);
  m_pDaemon = MHD_start_daemon(MHD_USE_ERROR_LOG, 0, nullptr, nullptr, keepConnection, &m_pConnection,
                               MHD_OPTION_SOCK_ADDR, reinterpret_cast<const sockaddr*>(&address), MHD_OPTION_END);
  require(m_pDaemon != nullptr, "MHD_start_daemon");
  m_socket = connectTo(MHD_get_daemon_info(m_pDaemon, MHD_DAEMON_INFO_BIND_PORT)->port);
  const std::string request = "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1\r\nContent-Type: multipart/" +
                              std::string("form-data; boundary=") + boundary + "\r\n\r\n";
  require(write(m_socket, request.data(), request.size()) == static_cast<ssize_t>(request.size()), "write");
  while (m_pConnection == nullptr) {
    require(MHD_run_wait(m_pDaemon, 1000) == MHD_YES, "MHD_run_wait");
  }
}

PostProcessor::~PostProcessor() {
  close(m_socket);
  MHD_stop_daemon(m_pDaemon);
}

std::size_t PostProcessor::run(const std::string& filePath, ValueMemory memory) {
  setKeptBlocks(memory);
  const int fd = open(filePath.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status;
  require(fd != -1 && fstat(fd, &status) == 0, "open and fstat");
  std::string values;
  values.reserve(static_cast<std::size_t>(status.st_size));
  MHD_PostProcessor* const processor = MHD_create_post_processor(m_pConnection, kPiece, keepValue, &values);
  require(processor != nullptr, "MHD_create_post_processor");
  static char s_piece[kPiece];
  for (ssize_t size = 0; (size = read(fd, s_piece, kPiece)) > 0;) {
    require(MHD_post_process(processor, s_piece, static_cast<std::size_t>(size)) == MHD_YES, "MHD_post_process");
  }
  MHD_destroy_post_processor(processor);
  close(fd);
  return values.size();
}

}  // namespace KelpBench
