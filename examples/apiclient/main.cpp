// The API client of the examples: a CGI program, started by the web server for each call. Takes the request from
// standard input, has the core answer it, and prints the reply.
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "FilePathManager.h"
#include "IpcAddressApi.h"
#include "TimerService.h"
#include "apiclient/CgiInput.h"
#include "apiclient/CoreCall.h"
#include "apiclient/Fault.h"
#include "apiclient/Reply.h"
#include "apiclient/RequestReader.h"
#include "common/StaleFifo.h"

namespace {

using KelpExample::Fault;
using KelpExample::Record;

// Many clients run at once: the process id keeps their files apart.
std::string filePath(const char* kind) {
  char pid[9];
  snprintf(pid, sizeof(pid), "%08X", static_cast<unsigned int>(getpid()));
  return Kelp::FilePathManager::getCoreTmpPath() + "/" + kind + pid;
}

Fault callCore(const Record& request, Record& answer) {
  Kelp::TimerService::createInstance();
  Fault fault;
  {
    KelpExample::CoreCall call(Kelp::IpcAddressApi(getpid()), request);
    fault = call.run(answer);
  }
  Kelp::TimerService::destroyInstance();
  return fault;
}

Fault serve(Record& answer) {
  std::string body;
  Fault fault = KelpExample::readBody(body);
  if (fault.isSet()) {
    return fault;
  }
  Record request;
  fault = KelpExample::readRequest(body, filePath("request"), request);
  return fault.isSet() ? fault : callCore(request, answer);
}

}  // namespace

int main() {
  signal(SIGPIPE, SIG_IGN);  // a caller that has hung up must not keep the files from being removed
  Record answer;
  Fault fault;
  if (KelpExample::clearFifoPath(Kelp::IpcAddressApi(getpid()).getFifoFilePath())) {
    fault = serve(answer);
  } else {
    fault = {500, Kelp::CommonReturnCode_FileAccessError, "the FIFO for the answer cannot be made"};
  }
  return KelpExample::printReply(fault, answer, filePath("response")) ? EXIT_SUCCESS : EXIT_FAILURE;
}
