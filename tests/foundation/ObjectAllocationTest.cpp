// What a live object costs. A program of its own, because it replaces the allocator.
#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "Base64EncDec.h"
#include "support/AllocationCount.h"

namespace {

constexpr std::size_t kRoomWithoutAllocation = 255;

std::size_t blocks() {
  return KelpTest::allocations().blocks;
}

}  // namespace

TEST(ObjectAllocationTest, TheFirst255LiveObjectsAllocateNothing) {
  std::vector<std::optional<Kelp::Base64EncDec>> objects(kRoomWithoutAllocation);
  const std::size_t before = blocks();
  for (int round = 0; round < 3; ++round) {
    for (auto& object : objects) {
      object.emplace();
    }
    for (auto& object : objects) {
      object.reset();
    }
  }
  EXPECT_EQ(before, blocks());
}

TEST(ObjectAllocationTest, OneMoreDoublesTheRegistryInTwoBlocks) {
  std::vector<std::optional<Kelp::Base64EncDec>> objects(2 * kRoomWithoutAllocation);
  for (std::size_t i = 0; i < kRoomWithoutAllocation; ++i) {
    objects[i].emplace();
  }
  const std::size_t before = blocks();
  for (std::size_t i = kRoomWithoutAllocation; i < objects.size(); ++i) {
    objects[i].emplace();
  }
  EXPECT_EQ(before + 2, blocks());
}
