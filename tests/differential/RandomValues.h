// Values that differential runs put everywhere: ordinary ones, and those at and beyond the ends of the types.
#ifndef KELP_TESTS_DIFFERENTIAL_RANDOM_VALUES_H
#define KELP_TESTS_DIFFERENTIAL_RANDOM_VALUES_H

#include <string>

#include "support/RandomSource.h"

namespace KelpTest {

int randomInt(RandomSource& random);
long long randomLongLong(RandomSource& random);

std::string randomNumberText(RandomSource& random);  // decimal or hexadecimal, or not quite

// Base64, here and there with what the decoder takes besides, or should refuse.
std::string randomBase64Text(RandomSource& random);

// Any bytes but NUL, in which UTF-8 is not always well formed.
std::string randomText(RandomSource& random, uint32_t longest);

std::string randomBytes(RandomSource& random, uint32_t longest);

// One of all these.
std::string randomValue(RandomSource& random);

}  // namespace KelpTest

#endif  // KELP_TESTS_DIFFERENTIAL_RANDOM_VALUES_H
