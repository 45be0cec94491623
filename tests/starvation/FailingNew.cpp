#include "starvation/FailingNew.h"

#include <stdlib.h>

#include <atomic>
#include <cstddef>
#include <new>

#include "support/CallFaults.h"

namespace {

std::atomic<int> s_count{0};
std::atomic<int> s_live{0};
std::atomic<int> s_failing{0};
std::atomic<bool> s_hasFailed{false};
std::atomic<bool> s_hasNothrowFailed{false};

// Stands before each block and keeps it aligned.
struct alignas(std::max_align_t) Tag {
  bool isCounted;
};

bool isToFail() {
  s_count.fetch_add(1);
  return s_failing.load() > 0 && s_failing.fetch_sub(1) == 1;
}

void* allocate(size_t size) {
  const bool isCounted = !KelpTest::UncountedCalls::areHeld();
  if (isCounted && isToFail()) {
    s_hasFailed.store(true);
    return nullptr;
  }
  const KelpTest::UncountedCalls notAnAllocationOfItsOwn;
  void* const block = malloc(sizeof(Tag) + size);
  if (block == nullptr) {
    return nullptr;
  }
  s_live.fetch_add(isCounted ? 1 : 0);
  return new (block) Tag{isCounted} + 1;
}

void release(void* memory) {
  if (memory == nullptr) {
    return;
  }
  Tag* const tag = static_cast<Tag*>(memory) - 1;
  s_live.fetch_sub(tag->isCounted ? 1 : 0);
  const KelpTest::UncountedCalls notAReleaseOfItsOwn;
  free(tag);
}

}  // namespace

namespace KelpTest {

void failNew(int number) {
  s_hasFailed.store(false);
  s_hasNothrowFailed.store(false);
  s_failing.store(number);
}

bool hasNewFailed() {
  return s_hasFailed.load();
}

bool hasNothrowNewFailed() {
  return s_hasNothrowFailed.load();
}

int newCount() {
  return s_count.load();
}

int newBlocks() {
  return s_live.load();
}

}  // namespace KelpTest

void* operator new(size_t size) {
  void* const memory = allocate(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
  void* const memory = allocate(size);
  if (memory == nullptr) {
    s_hasNothrowFailed.store(true);
  }
  return memory;
}

// The sanitizers' own do not come here by themselves.
void* operator new[](size_t size) {
  return operator new(size);
}

void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}

void operator delete(void* memory) noexcept {
  release(memory);
}

void operator delete(void* memory, size_t /*size*/) noexcept {
  release(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  release(memory);
}

void operator delete[](void* memory) noexcept {
  release(memory);
}

void operator delete[](void* memory, size_t /*size*/) noexcept {
  release(memory);
}

void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
  release(memory);
}
