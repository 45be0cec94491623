// The API client of the examples: a CGI program, started by the web server for each call. Takes the request from
// standard input, has the core answer it, and prints the reply.
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "FileOperator.h"
#include "FilePathManager.h"
#include "IpcAddressApi.h"
#include "SysFunc.h"
#include "TimerService.h"
#include "apiclient/CgiInput.h"
#include "apiclient/CoreCall.h"
#include "apiclient/Fault.h"
#include "apiclient/Reply.h"
#include "apiclient/RequestReader.h"
#include "common/RequestFile.h"
#include "common/StaleFifo.h"

namespace {

using KelpExample::CallResult;
using KelpExample::Fault;
using KelpExample::Record;

// Many clients run at once: the process id keeps their files apart.
std::string responseFilePath() {
  char pid[9];
  snprintf(pid, sizeof(pid), "%08X", static_cast<unsigned int>(getpid()));
  return Kelp::FilePathManager::getCoreTmpPath() + "/response" + pid;
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

Fault takeBody(const KelpExample::RequestHead& head, Kelp::FileOperator& file) {
  unlink(file.getPath().c_str());  // left by a process that died with this process id
  if (file.open(O_WRONLY | O_CREAT | O_EXCL, 0600) != 0) {
    return {500, Kelp::CommonReturnCode_IoError, "the request file cannot be made"};
  }
  return KelpExample::readBody(head, file);
}

// The file with the body is kept until the core has answered, since it may hold a package. A core that wants it takes
// it away. Without a place for files of its own the client makes none.
Fault serve(CallResult& result, bool hasPlace) {
  KelpExample::RequestHead head;
  Fault fault = KelpExample::readHead(head);
  result.form = head.form;
  if (fault.isSet()) {
    return fault;
  }
  if (!hasPlace) {
    return {500, Kelp::CommonReturnCode_FileAccessError, "the FIFO for the answer cannot be made"};
  }
  Kelp::FileOperator file(KelpExample::requestFilePath(getpid()), false);
  fault = takeBody(head, file);
  if (!fault.isSet()) {
    fault = KelpExample::readRequest(head.form, file.getPath(), result.request);
  }
  if (!fault.isSet()) {
    fault = callCore(result.request, result.answer);
  }
  file.setFileRemovalOnObjectDeletion(Kelp::SysFunc::kelpStat(file.getPath()) != -1);
  return fault;
}

}  // namespace

int main() {
  signal(SIGPIPE, SIG_IGN);  // a caller that has hung up must not keep the files from being removed
  const bool hasPlace = KelpExample::clearFifoPath(Kelp::IpcAddressApi(getpid()).getFifoFilePath());
  CallResult result;
  result.fault = serve(result, hasPlace);
  return KelpExample::printReply(result, hasPlace ? responseFilePath() : "") ? EXIT_SUCCESS : EXIT_FAILURE;
}
