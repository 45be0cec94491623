#include "common/StaleFifo.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FdOperator.h"

namespace KelpExample {

namespace {

// The names of all files in it can be told beforehand. Whoever else may make files there could put links in their
// places; whoever made the directory before us could even replace ours.
bool isOursAlone(const std::string& directory) {
  struct stat status;
  return lstat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         (status.st_uid == geteuid() || status.st_uid == 0) && (status.st_mode & S_IWOTH) == 0;
}

}  // namespace

// Opening a FIFO for writing without waiting fails when nobody reads it.
bool isFifoRead(const std::string& path) {
  const Kelp::FdOperator fifo(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC), true);
  struct stat status;
  return fifo.getFd() != -1 && fstat(fifo.getFd(), &status) == 0 && S_ISFIFO(status.st_mode);
}

bool clearFifoPath(const std::string& path) {
  const std::string directory = path.substr(0, path.rfind('/'));
  mkdir(directory.c_str(), 0755);  // usually there
  if (!isOursAlone(directory) || isFifoRead(path)) {
    return false;
  }
  return unlink(path.c_str()) == 0 || errno == ENOENT;
}

}  // namespace KelpExample
