// The parts of a differential run: each does `count` seeded things to the library and writes down what comes of them.
#ifndef KELP_TESTS_DIFFERENTIAL_RUNS_H
#define KELP_TESTS_DIFFERENTIAL_RUNS_H

#include "differential/Transcript.h"
#include "support/RandomSource.h"

namespace KelpTest {

// Requests in the three forms, read by every getter and answered in JSON or as binary records.
void runRequests(RandomSource& random, Transcript& transcript, int count);

// Messages through real FIFOs: sent and looked at as bytes, and given as bytes and received.
void runMessages(RandomSource& random, Transcript& transcript, int count);

// Preference files, loaded, changed, written and restored.
void runPreferences(RandomSource& random, Transcript& transcript, int count);

}  // namespace KelpTest

#endif  // KELP_TESTS_DIFFERENTIAL_RUNS_H
