#include "support/AllocationCount.h"

#include <atomic>

// The names under which glibc keeps its own.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* block, std::size_t size);

namespace {

std::atomic<std::size_t> s_count{0};

}  // namespace

extern "C" void* malloc(std::size_t size) {
  s_count.fetch_add(1, std::memory_order_relaxed);
  return __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) {
  s_count.fetch_add(1, std::memory_order_relaxed);
  return __libc_calloc(count, size);
}

extern "C" void* realloc(void* block, std::size_t size) {
  s_count.fetch_add(1, std::memory_order_relaxed);
  return __libc_realloc(block, size);
}

namespace KelpBench {

std::size_t allocationCount() {
  return s_count.load(std::memory_order_relaxed);
}

}  // namespace KelpBench
