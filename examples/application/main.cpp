// The application of the examples. The core starts it: application NAME INSTALL_ID EXEC_ID [LABEL]
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/prctl.h>

#include "IpcAddressApp.h"
#include "TimerService.h"
#include "application/ClockApplication.h"
#include "common/Note.h"
#include "common/StaleFifo.h"

namespace {

int toNumber(const char* text) {
  return static_cast<int>(strtol(text, nullptr, 10));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4 && argc != 5) {
    fprintf(stderr, "usage: %s NAME INSTALL_ID EXEC_ID [LABEL]\n", argv[0]);
    return EXIT_FAILURE;
  }
  signal(SIGPIPE, SIG_IGN);
  prctl(PR_SET_PDEATHSIG, SIGTERM);  // a core that crashes takes its applications along, as a container's end would
  const Kelp::IpcAddressApp address(toNumber(argv[2]), toNumber(argv[3]));
  if (!KelpExample::clearFifoPath(address.getFifoFilePath())) {
    KelpExample::note("%s is in use", address.getFifoFilePath().c_str());
    return EXIT_FAILURE;
  }
  Kelp::TimerService::createInstance();
  bool hasRun;
  {
    KelpExample::ClockApplication application(argv[1], address, argc == 5 ? argv[4] : "");
    hasRun = application.run();
  }
  Kelp::TimerService::destroyInstance();
  return hasRun ? EXIT_SUCCESS : EXIT_FAILURE;
}
