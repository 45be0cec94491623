// Memory for what is made on any thread, those with small stacks among them.
//
// A failed `new` ends the process, but first the C++ runtime looks for a handler of its exception, which takes more
// stack than a worker may have left. Such places allocate with std::nothrow and require what they got.
#ifndef KELP_FOUNDATION_REQUIRE_MEMORY_H
#define KELP_FOUNDATION_REQUIRE_MEMORY_H

#include <stddef.h>

#include <new>

#include "foundation/Diagnostics.h"

namespace Kelp {

// Ends the process where there was none.
inline void requireMemory(const void* memory) {
  KELP_ASSERT(memory != nullptr, "memory != __null");
}

// The same for a container.
template <typename T>
struct RequiringAllocator {
  using value_type = T;

  RequiringAllocator() = default;
  template <typename U>
  explicit RequiringAllocator(const RequiringAllocator<U>& /*other*/) {}

  T* allocate(size_t count) {
    void* const memory = ::operator new(count * sizeof(T), std::nothrow);
    requireMemory(memory);
    return static_cast<T*>(memory);
  }
  void deallocate(T* memory, size_t /*count*/) { ::operator delete(memory); }
};

template <typename T, typename U>
bool operator==(const RequiringAllocator<T>& /*one*/, const RequiringAllocator<U>& /*other*/) {
  return true;
}

template <typename T, typename U>
bool operator!=(const RequiringAllocator<T>& /*one*/, const RequiringAllocator<U>& /*other*/) {
  return false;
}

}  // namespace Kelp

#endif  // KELP_FOUNDATION_REQUIRE_MEMORY_H
