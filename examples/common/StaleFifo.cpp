#include "common/StaleFifo.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FdOperator.h"

namespace KelpExample {

// Opening a FIFO for writing without waiting fails when nobody reads it.
bool isFifoRead(const std::string& path) {
  const Kelp::FdOperator fifo(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC), true);
  struct stat status;
  return fifo.getFd() != -1 && fstat(fifo.getFd(), &status) == 0 && S_ISFIFO(status.st_mode);
}

bool clearFifoPath(const std::string& path) {
  const std::string directory = path.substr(0, path.rfind('/'));
  mkdir(directory.c_str(), 0755);  // usually there
  if (isFifoRead(path)) {
    return false;
  }
  return unlink(path.c_str()) == 0 || errno == ENOENT;
}

}  // namespace KelpExample
