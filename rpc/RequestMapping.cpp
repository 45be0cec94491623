#include "rpc/RequestMapping.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <climits>

#include "FileOperator.h"

namespace Kelp {

namespace {

// Having the pages that are written to copied at once is cheaper than a fault for each. Of a small request they are
// nearly all; of a large one whose values only go to the front there may be many that are just read. There is a limit
// where all are written, too, so that a file that is no request does not take the memory of one.
constexpr long long mostPopulated(MappingUse use) {
  return use == MappingUse::All ? 64LL * 1024 * 1024 : 64LL * 1024;  // bytes
}

// The offsets of what the parsers find are longs, which have 32 bits on the device; the sizes are unsigned ints.
constexpr long long kLargestRequest = std::min<long long>(UINT_MAX, LONG_MAX);

}  // namespace

bool mapRequest(FileOperator& file, MappingUse use, char*& buffer, unsigned int& size) {
  buffer = nullptr;
  size = 0;
  if (file.open(O_RDONLY, 0) != 0) {
    return false;
  }
  const long long fileSize = file.size();
  if (fileSize == 0) {
    return true;
  }
  if (fileSize > kLargestRequest) {
    return false;
  }
  const int populate = fileSize <= mostPopulated(use) ? MAP_POPULATE : 0;
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
