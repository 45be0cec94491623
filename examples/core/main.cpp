// The core daemon of the examples. Runs in the foreground until SIGTERM or SIGINT.
#include <signal.h>
#include <stdlib.h>

#include "FilePathManager.h"
#include "KelpDebug.h"
#include "TimerService.h"
#include "WorkerThreadService.h"
#include "common/Note.h"
#include "common/StaleFifo.h"
#include "core/CoreDaemon.h"

namespace {

constexpr int kWorkers = 2;

}  // namespace

int main() {
  // A client that dies before its answer is written must not take the core along; ignoring the signal once is cheaper
  // than having each send look after it.
  signal(SIGPIPE, SIG_IGN);
  signal(SIGCHLD, SIG_DFL);  // whoever started the core may ignore it, and then no child's end would be told
  if (!KelpExample::clearFifoPath(Kelp::FilePathManager::getCoreFifoPath())) {
    KelpExample::note("another core is running, %s cannot be removed, or its directory is not ours alone",
                      Kelp::FilePathManager::getCoreFifoPath().c_str());
    return EXIT_FAILURE;
  }
  KelpDebugGenerateLogFile("core", 0);
  Kelp::TimerService::createInstance();
  bool isServed;
  {
    KelpExample::CoreDaemon core;  // gone before the timers that it uses
    // Behind it: threads begin with the signals blocked that the core has blocked, and so none is taken by a worker.
    Kelp::WorkerThreadService::createInstance(kWorkers);
    isServed = core.run();
    Kelp::WorkerThreadService::destroyInstance();
  }
  Kelp::TimerService::destroyInstance();
  return isServed ? EXIT_SUCCESS : EXIT_FAILURE;
}
