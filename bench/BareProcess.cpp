// What IdleProcess is compared with: a process that only waits, with the same libraries but Kelp.
#include <stdio.h>
#include <unistd.h>

#include "support/PrivateNamespace.h"

int main(int /*argc*/, char** argv) {
  KelpTest::enterPrivateNamespace(argv);
  puts("ready");
  fflush(stdout);
  pause();
}
