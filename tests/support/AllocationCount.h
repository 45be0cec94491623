// Counts what the whole program asks for memory, its libraries included: linking the source of this replaces the C
// library's allocator by one that counts and hands on. A sanitizer's own allocator stays, and tells what it does.
//
// Threads: blocks are counted on every thread.
#ifndef KELP_TESTS_SUPPORT_ALLOCATION_COUNT_H
#define KELP_TESTS_SUPPORT_ALLOCATION_COUNT_H

#include <cstddef>

namespace KelpTest {

struct Allocations {
  std::size_t blocks;  // asked for since the program started: by malloc, calloc, realloc and, which call them, new
  std::size_t bytes;   // that these blocks take of the heap, with what the allocator needs for each
  std::size_t releasedBytes;  // of those that have been released again
};

Allocations allocations();

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_ALLOCATION_COUNT_H
