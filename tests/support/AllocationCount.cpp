#include "support/AllocationCount.h"

#include <malloc.h>

#include <atomic>

namespace {

std::atomic<std::size_t> s_blocks{0};
std::atomic<std::size_t> s_bytes{0};
std::atomic<std::size_t> s_releasedBytes{0};

void countBlock(std::size_t bytes) {
  s_blocks.fetch_add(1, std::memory_order_relaxed);
  s_bytes.fetch_add(bytes, std::memory_order_relaxed);
}

void countRelease(std::size_t bytes) {
  s_releasedBytes.fetch_add(bytes, std::memory_order_relaxed);
}

}  // namespace

namespace KelpTest {

Allocations allocations() {
  return {s_blocks.load(std::memory_order_relaxed), s_bytes.load(std::memory_order_relaxed),
          s_releasedBytes.load(std::memory_order_relaxed)};
}

}  // namespace KelpTest

// Names that the sanitizers and the C library give.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

extern "C" std::size_t __sanitizer_get_allocated_size(const volatile void* block);

extern "C" void __sanitizer_malloc_hook(const volatile void* /*block*/, std::size_t size) {
  countBlock(size);
}

extern "C" void __sanitizer_free_hook(const volatile void* block) {
  countRelease(__sanitizer_get_allocated_size(block));
}

#else

// The names under which glibc keeps its own.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* block, std::size_t size);
extern "C" void __libc_free(void* block);

namespace {

// In front of each block stands its size.
std::size_t heapBytesOf(void* block) {
  return block == nullptr ? 0 : malloc_usable_size(block) + sizeof(std::size_t);
}

void* counted(void* block) {
  countBlock(heapBytesOf(block));
  return block;
}

}  // namespace

extern "C" void* malloc(std::size_t size) {
  return counted(__libc_malloc(size));
}

extern "C" void* calloc(std::size_t count, std::size_t size) {
  return counted(__libc_calloc(count, size));
}

extern "C" void* realloc(void* block, std::size_t size) {
  countRelease(heapBytesOf(block));
  return counted(__libc_realloc(block, size));
}

extern "C" void free(void* block) {
  countRelease(heapBytesOf(block));
  __libc_free(block);
}

#endif
