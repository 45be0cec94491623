// Where a virtual operation stands in its class's table. Host programs are built against that order.
#ifndef KELP_TESTS_SUPPORT_VIRTUAL_SLOT_H
#define KELP_TESTS_SUPPORT_VIRTUAL_SLOT_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

namespace KelpTest {

// A pointer to a virtual operation holds its offset in the table, the lowest bit apart. The destructor takes the first
// two places.
template <typename Operation>
size_t slotOf(Operation operation) {
  uintptr_t offset = 0;
  static_assert(sizeof(operation) >= sizeof(offset), "not the expected form of a member pointer");
  memcpy(&offset, &operation, sizeof(offset));
  return (offset & ~uintptr_t{1}) / sizeof(void*);
}

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_VIRTUAL_SLOT_H
