#include "ipc/ReplacedAllocator.h"

#include <stdlib.h>

#include <atomic>
#include <new>

namespace {

std::atomic<bool> s_isOutOfMemory{false};

}  // namespace

namespace KelpTest {

NoMemoryForNothrowNew::NoMemoryForNothrowNew() {
  s_isOutOfMemory = true;
}

NoMemoryForNothrowNew::~NoMemoryForNothrowNew() {
  s_isOutOfMemory = false;
}

}  // namespace KelpTest

void* operator new(size_t size) {
  void* const block = malloc(size);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return s_isOutOfMemory.load() ? nullptr : malloc(size);
}

void operator delete(void* block) noexcept {
  free(block);
}

void operator delete(void* block, size_t /*size*/) noexcept {
  free(block);
}

void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
  free(block);
}
