// An entry of the application list as it stands in a binary response.
#ifndef KELP_RPC_APPLICATION_RECORD_H
#define KELP_RPC_APPLICATION_RECORD_H

#include <cstdint>

namespace Kelp {

struct ApplicationInfoList_t;

// All words are little-endian. Texts are filled up with NUL, and not terminated when they fill their field. Making one
// allocates nothing: a response that is being written does not end in its middle for want of memory.
struct ApplicationRecord {
  struct Pair {
    std::uint32_t first;
    std::uint32_t second;
  };
  struct Slot {
    std::uint32_t word;
    char text[64];
  };

  explicit ApplicationRecord(const ApplicationInfoList_t& entry);

  std::uint32_t firstWord;
  std::uint32_t secondWord;
  char text[8];
  std::uint32_t words[4];
  Pair pairs[4];
  Slot slots[64];
};

static_assert(sizeof(ApplicationRecord) == 4416, "as clients read it");

// The word as it is written.
std::uint32_t littleEndian(int value);

}  // namespace Kelp

#endif  // KELP_RPC_APPLICATION_RECORD_H
