// Does what a seed says to the library and writes down what comes of it: standard output is the same for every build,
// whatever its processor and word size. Standard error counts what has come up, and a run in which too little has
// fails.
//   DifferentialProgram SEED COUNT      COUNT requests, messages and preference files each; 300 or more
#include <stdio.h>
#include <stdlib.h>

#include "differential/Runs.h"
#include "support/PrivateNamespace.h"

// No disk needs to be waited for.
extern "C" void sync() noexcept {}

namespace {

constexpr int kFewestOfEach = 300;

// Nearly all of these come in more than a twentieth of the count, and processes end in a fortieth.
bool isAllThere(const KelpTest::Transcript& transcript, int count) {
  bool isThere = true;
  for (const char* outcome : {"query string parsed",
                              "form parsed",
                              "form refused",
                              "record parsed",
                              "record refused",
                              "data decoded",
                              "data refused",
                              "answer in JSON",
                              "answer in binary records",
                              "message looked at",
                              "bytes received",
                              "bad size received",
                              "request handled",
                              "one-way request handled",
                              "response handled",
                              "file loaded",
                              "file refused",
                              "value set",
                              "value refused",
                              "restored",
                              "restore refused"}) {
    isThere = transcript.require(outcome, count / 50) && isThere;
  }
  return isThere;
}

}  // namespace

int main(int argc, char** argv) {
  const int count = argc == 3 ? atoi(argv[2]) : 0;
  if (count < kFewestOfEach) {
    fprintf(stderr, "usage: DifferentialProgram SEED COUNT (%d or more)\n", kFewestOfEach);
    return 2;
  }
  KelpTest::enterPrivateNamespace(argv);
  KelpTest::RandomSource random(static_cast<uint32_t>(strtoul(argv[1], nullptr, 10)));
  KelpTest::Transcript transcript(stdout);
  KelpTest::runRequests(random, transcript, count);
  KelpTest::runMessages(random, transcript, count);
  KelpTest::runPreferences(random, transcript, count);
  transcript.printOutcomes(stderr);
  return isAllThere(transcript, count) ? 0 : 1;
}
