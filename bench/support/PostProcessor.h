// libmicrohttpd's parser of multipart forms, without its server around it.
#ifndef KELP_BENCH_SUPPORT_POST_PROCESSOR_H
#define KELP_BENCH_SUPPORT_POST_PROCESSOR_H

#include <cstddef>
#include <string>

struct MHD_Connection;
struct MHD_Daemon;

namespace KelpBench {

// Where the values are kept.
enum class ValueMemory {
  Fresh,   // in memory that each request gets from the kernel, as the one request of a short-lived process does
  Reused,  // in memory that the process still has from the request before
};

class PostProcessor {
 public:
  // Gets a connection whose headers announce a form with that boundary, which the library's parser asks for.
  explicit PostProcessor(const std::string& boundary);
  ~PostProcessor();
  PostProcessor(const PostProcessor&) = delete;
  PostProcessor& operator=(const PostProcessor&) = delete;

  // Reads the form in the file piece by piece, as a server does from a socket, and keeps the values in memory without
  // their line ends. Returns how many bytes these have.
  std::size_t run(const std::string& filePath, ValueMemory memory);

 private:
  MHD_Daemon* m_pDaemon;
  MHD_Connection* m_pConnection;
  int m_socket;
};

}  // namespace KelpBench

#endif  // KELP_BENCH_SUPPORT_POST_PROCESSOR_H
