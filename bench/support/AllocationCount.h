// Counts what the whole program asks for memory, its libraries included: linking the source of this replaces the C
// library's allocator by one that counts and hands on.
#ifndef KELP_BENCH_SUPPORT_ALLOCATION_COUNT_H
#define KELP_BENCH_SUPPORT_ALLOCATION_COUNT_H

#include <cstddef>

namespace KelpBench {

// How many blocks have been asked for since the program started: by malloc, calloc, realloc and, which call them, new.
std::size_t allocationCount();

}  // namespace KelpBench

#endif  // KELP_BENCH_SUPPORT_ALLOCATION_COUNT_H
