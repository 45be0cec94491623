// Where the JSON of a target's input starts. The libFuzzer build of such a target changes JSON as such too, not only as
// bytes (JsonMutator.cpp).
#ifndef KELP_FUZZ_JSON_MUTATOR_H
#define KELP_FUZZ_JSON_MUTATOR_H

#include <stddef.h>

namespace KelpFuzz {

extern const size_t kJsonOffset;

}  // namespace KelpFuzz

#endif  // KELP_FUZZ_JSON_MUTATOR_H
