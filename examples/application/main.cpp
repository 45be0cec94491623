// The application of the examples. The core starts it: application NAME INSTALL_ID EXEC_ID CORE_PID [LABEL]
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "IpcAddressApp.h"
#include "TimerService.h"
#include "application/ClockApplication.h"
#include "common/Note.h"
#include "common/StaleFifo.h"

namespace {

int toNumber(const char* text) {
  return static_cast<int>(strtol(text, nullptr, 10));
}

// A core that crashes takes its applications along, as a container's end would. The kernel tells only of an end that is
// still to come; a core that has gone already is the parent no more.
bool bindToCore(pid_t core) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  return getppid() == core;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5 && argc != 6) {
    fprintf(stderr, "usage: %s NAME INSTALL_ID EXEC_ID CORE_PID [LABEL]\n", argv[0]);
    return EXIT_FAILURE;
  }
  signal(SIGPIPE, SIG_IGN);
  if (!bindToCore(toNumber(argv[4]))) {
    KelpExample::note("core %s has gone", argv[4]);
    return EXIT_FAILURE;
  }
  const Kelp::IpcAddressApp address(toNumber(argv[2]), toNumber(argv[3]));
  if (!KelpExample::clearFifoPath(address.getFifoFilePath())) {
    KelpExample::note("%s is in use, or its directory is not ours alone", address.getFifoFilePath().c_str());
    return EXIT_FAILURE;
  }
  Kelp::TimerService::createInstance();
  bool hasRun;
  {
    KelpExample::ClockApplication application(argv[1], address, argc == 6 ? argv[5] : "");
    hasRun = application.run();
  }
  Kelp::TimerService::destroyInstance();
  return hasRun ? EXIT_SUCCESS : EXIT_FAILURE;
}
