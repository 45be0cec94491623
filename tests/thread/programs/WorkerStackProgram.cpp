// Has a job with 4 KiB of frames of its own log one error line of nearly the greatest length, and checks that standard
// error gets it whole. Ends with status 0 when that is so; a stack that does not suffice ends it with a signal.
#include <fcntl.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include "EventLooperMultiWait.h"
#include "ExecObject.h"
#include "ExecObjectEventSender.h"
#include "SysFunc.h"
#include "WorkerThreadService.h"

namespace {

using Kelp::EventLooperMultiWait;
using Kelp::WorkerThreadService;

constexpr size_t kFrameBytes = 4096;

class LoggingJob : public WorkerThreadService::RequestToWorkerThread {
 public:
  LoggingJob() : m_from("/missing/" + std::string(440, 'a')), m_to("/missing/" + std::string(440, 'b')) {}

  void executeInWorkerThread() override {
    volatile char frame[kFrameBytes];
    for (volatile char& byte : frame) {
      byte = 'f';
    }
    m_thread = static_cast<unsigned int>(pthread_self());
    Kelp::SysFunc::kelpRename(m_from, m_to);
    for (volatile char& byte : frame) {
      m_isFrameIntact = m_isFrameIntact && byte == 'f';
    }
  }

  bool isRight(const std::string& written) const {
    char prefix[80];
    snprintf(prefix, sizeof(prefix), "%05d:%X SysFunc.cpp L:", getpid(), m_thread);
    const std::string message = " kelpRename ERROR: Can't rename " + m_from + " to " + m_to + " errno: 2\n";
    return m_isFrameIntact && written.compare(0, strlen(prefix), prefix) == 0 && written.size() > message.size() &&
           written.compare(written.size() - message.size(), message.size(), message) == 0;
  }

 private:
  const std::string m_from;
  const std::string m_to;
  unsigned int m_thread = 0;
  bool m_isFrameIntact = true;
};

// Puts the job when the loop runs, and ends the loop when the job is done.
class Asker : public Kelp::ExecObject {
 public:
  Asker(WorkerThreadService::RequestToWorkerThread& job, WorkerThreadService::WorkerObserver& observer)
      : m_job(job), m_observer(observer) {}
  void doExecute() override { WorkerThreadService::getInstance().putRequest(m_job, m_observer); }

 private:
  WorkerThreadService::RequestToWorkerThread& m_job;
  WorkerThreadService::WorkerObserver& m_observer;
};

class Ender : public WorkerThreadService::WorkerObserver {
 public:
  explicit Ender(EventLooperMultiWait& looper) : m_looper(looper) {}
  void notifyFromWorkerThread(Kelp::WorkerThreadExecId_t /*execId*/,
                              WorkerThreadService::RequestToWorkerThread& /*request*/) override {
    m_looper.exitEventLoop();
  }

 private:
  EventLooperMultiWait& m_looper;
};

void execute(LoggingJob& job) {
  EventLooperMultiWait looper;
  Ender ender(looper);
  WorkerThreadService::createInstance(1);
  looper.getExecObjectEventSender().send(*new Asker(job, ender));
  looper.runEventLoop();
  WorkerThreadService::destroyInstance();
}

std::string writtenBy(LoggingJob& job) {
  int fds[2];
  const int savedStderr = dup(STDERR_FILENO);
  if (pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0 || dup2(fds[1], STDERR_FILENO) == -1) {
    return "no pipe";
  }
  execute(job);
  dup2(savedStderr, STDERR_FILENO);
  char text[4096];
  const ssize_t length = read(fds[0], text, sizeof(text));
  return length > 0 ? std::string(text, static_cast<size_t>(length)) : "";
}

}  // namespace

int main() {
  LoggingJob job;
  const std::string written = writtenBy(job);
  if (job.isRight(written)) {
    return 0;
  }
  fprintf(stderr, "standard error got: \"%s\"\n", written.c_str());
  return 1;
}
