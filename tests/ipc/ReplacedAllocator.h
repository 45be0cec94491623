// For test programs that link ReplacedAllocator.cpp: it takes the place of operator new, whoever calls it.
#ifndef KELP_TESTS_IPC_REPLACED_ALLOCATOR_H
#define KELP_TESTS_IPC_REPLACED_ALLOCATOR_H

namespace KelpTest {

// While it lives, the allocations that may fail, those with std::nothrow, do.
class NoMemoryForNothrowNew {
 public:
  NoMemoryForNothrowNew();
  ~NoMemoryForNothrowNew();
  NoMemoryForNothrowNew(const NoMemoryForNothrowNew&) = delete;
  NoMemoryForNothrowNew& operator=(const NoMemoryForNothrowNew&) = delete;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_IPC_REPLACED_ALLOCATOR_H
