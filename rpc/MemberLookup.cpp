#include "rpc/MemberLookup.h"

#include <string.h>

#include "SysFunc.h"

namespace Kelp {

unsigned int copyMember(const char* value, unsigned int size, char*& copy) {
  copy = static_cast<char*>(SysFunc::kelpMalloc(size + 1));
  if (copy == nullptr) {
    return 0;
  }
  if (size > 0) {
    memcpy(copy, value, size);
  }
  copy[size] = '\0';
  return size;
}

}  // namespace Kelp
