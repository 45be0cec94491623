#include "rpc/RequestMapping.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <limits>

#include "FileOperator.h"

namespace Kelp {

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
  // Decoding writes to nearly every page: having all of them copied at once is cheaper than a fault for each.
  void* const start =
      mmap(nullptr, static_cast<size_t>(fileSize), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_POPULATE, file.getFd(), 0);
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
