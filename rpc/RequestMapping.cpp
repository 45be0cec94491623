#include "rpc/RequestMapping.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <limits>

#include "FileOperator.h"

namespace Kelp {

namespace {

constexpr long long kMostPopulated = 64LL * 1024;  // bytes

}  // namespace

bool mapRequest(FileOperator& file, char*& buffer, unsigned int& size) {
  buffer = nullptr;
  size = 0;
  if (file.open(O_RDONLY, 0) != 0) {
    return false;
  }
  const long long fileSize = file.size();
  if (fileSize == 0) {
    return true;
  }
  if (fileSize > std::numeric_limits<unsigned int>::max()) {
    return false;
  }
  // Decoding writes to the pages at the front. Where these are nearly all, having the pages copied at once is cheaper
  // than a fault for each; the more escapes a large request has, the more of it is only read.
  const int populate = fileSize <= kMostPopulated ? MAP_POPULATE : 0;
  void* const start =
      mmap(nullptr, static_cast<size_t>(fileSize), PROT_READ | PROT_WRITE, MAP_PRIVATE | populate, file.getFd(), 0);
  if (start == MAP_FAILED) {
    return false;
  }
  buffer = static_cast<char*>(start);
  size = static_cast<unsigned int>(fileSize);
  return true;
}

void unmapRequest(char* buffer, unsigned int size) {
  if (buffer != nullptr) {
    munmap(buffer, size);
  }
}

}  // namespace Kelp
