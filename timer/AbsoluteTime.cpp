#include "AbsoluteTime.h"

#include <fcntl.h>
#include <unistd.h>

#include "foundation/Diagnostics.h"

namespace Kelp {

namespace {

constexpr char kUptimeFilePath[] = "/mnt/system/stats/uptime_total/total_lapsetime_min.bin";

}  // namespace

int AbsoluteTime::getTime() {
  int absoluteTime = -1;
  static_assert(sizeof(absoluteTime) == 4, "the file's number");
  const int fd = ::open(kUptimeFilePath, O_RDONLY);
  if (fd == -1) {
    KELP_LOG_ERROR_AT(44, "absoluteTime = %d\n", absoluteTime);
    return -1;
  }
  const ssize_t size = ::read(fd, &absoluteTime, sizeof(absoluteTime));
  ::close(fd);
  if (size != static_cast<ssize_t>(sizeof(absoluteTime))) {
    KELP_LOG_ERROR_AT(51, "absoluteTime = %d\n", absoluteTime);  // with what a short read has put into it
    return -1;
  }
  return absoluteTime;
}

}  // namespace Kelp
