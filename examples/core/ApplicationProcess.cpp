#include "core/ApplicationProcess.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "FilePathManager.h"
#include "IpcData.h"
#include "IpcEventSender.h"
#include "common/Note.h"
#include "common/Payload.h"
#include "common/WebApi.h"

namespace KelpExample {

namespace {

constexpr int64_t kNanosecondsPerMs = 1000000;

// A child inherits what its parent blocks and ignores. An application starts as any program expects to.
class SpawnAttributes {
 public:
  SpawnAttributes() {
    sigset_t none;
    sigemptyset(&none);
    sigset_t ignored;
    sigemptyset(&ignored);
    sigaddset(&ignored, SIGPIPE);
    posix_spawnattr_init(&m_attributes);
    posix_spawnattr_setsigmask(&m_attributes, &none);
    posix_spawnattr_setsigdefault(&m_attributes, &ignored);
    posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnAttributes() { posix_spawnattr_destroy(&m_attributes); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  const posix_spawnattr_t* get() const { return &m_attributes; }

 private:
  posix_spawnattr_t m_attributes;
};

// As a shell shows it: the exit code, or 128 and the signal that killed the process.
int exitStatus(int waitStatus) {
  return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

}  // namespace

ApplicationProcess::ApplicationProcess(const std::string& appName, int installId, int execId, const std::string& args,
                                       const Kelp::IpcAddress& self)
    : m_appName(appName),
      m_installId(installId),
      m_execId(execId),
      m_args(args),
      m_address(installId, execId),
      m_self(self) {}

ApplicationProcess::~ApplicationProcess() {
  Kelp::TimerService::getInstance().cancelTimer(m_killTimer);
}

bool ApplicationProcess::start() {
  std::string program = Kelp::FilePathManager::getAppBinPath(m_appName) + "/application";
  std::string name = m_appName;
  std::string installId = std::to_string(m_installId);
  std::string execId = std::to_string(m_execId);
  std::string core = std::to_string(getpid());
  std::string args = m_args;
  char* const last = args.empty() ? nullptr : &args[0];
  char* const arguments[] = {&program[0], &name[0], &installId[0], &execId[0], &core[0], last, nullptr};
  const SpawnAttributes attributes;
  if (posix_spawn(&m_pid, program.c_str(), nullptr, attributes.get(), arguments, environ) != 0) {
    note("cannot run %s", program.c_str());
    return false;
  }
  note("application %s started: execId %d, process %d", m_appName.c_str(), m_execId, m_pid);
  return true;
}

void ApplicationProcess::stop(std::unique_ptr<WebApiCall> call) {
  if (call != nullptr) {
    m_waitingForEnd.push_back(std::move(call));
  }
  if (m_state == State::Stopping) {
    return;
  }
  m_state = State::Stopping;
  if (!sendOrder(kOrderStop)) {
    kill(m_pid, SIGTERM);  // it has no FIFO yet, or does not read it
  }
  m_killTimer = Kelp::TimerService::getInstance().startCyclicTimer(kPatienceMs * kNanosecondsPerMs, 1, *this, nullptr);
}

void ApplicationProcess::orderToReadPreferences() {
  if (m_state == State::Running) {
    sendOrder(kOrderReadPreferences);
  }
}

void ApplicationProcess::takeReport(const Record& report) {
  if (!report.getNumber(kReportCount, m_reportCount) || !report.getString(kReportText, m_reportText)) {
    note("application %s sent a report that says nothing", m_appName.c_str());
    return;
  }
  if (m_state == State::Starting) {
    m_state = State::Running;
  }
}

void ApplicationProcess::handleEnd(int waitStatus) {
  note("application %s ended: execId %d, exit status %d", m_appName.c_str(), m_execId, exitStatus(waitStatus));
  unlink(m_address.getFifoFilePath().c_str());  // still there when the process was killed
  for (const auto& call : m_waitingForEnd) {
    call->results().putDecimal(kExecId, m_execId);
    call->results().putDecimal("exitStatus", exitStatus(waitStatus));
    call->answer(Kelp::CommonReturnCode_Ok);
  }
  m_waitingForEnd.clear();
}

pid_t ApplicationProcess::getPid() const {
  return m_pid;
}

int ApplicationProcess::getExecId() const {
  return m_execId;
}

// A FIFO belongs to one address, and one address has one FIFO.
bool ApplicationProcess::isAddress(const Kelp::IpcAddress& address) const {
  return address.getFifoFilePath() == m_address.getFifoFilePath();
}

void ApplicationProcess::describe(Record& record) const {
  record.putString(kStatus, stateText());
  record.putDecimal(kExecId, m_execId);
  record.putDecimal(kProcessId, m_pid);
  record.putDecimal(kReportCount, m_reportCount);
  record.putString(kReportText, m_reportText);
}

void ApplicationProcess::notifyCyclicTimer(Kelp::TimerId_t /*timerId*/, int /*count*/) {
  m_killTimer = Kelp::INVALID_TIMER_ID;  // it ends by itself after its only notification
  note("application %s does not stop: killed", m_appName.c_str());
  kill(m_pid, SIGKILL);
}

const char* ApplicationProcess::stateText() const {
  switch (m_state) {
    case State::Starting:
      return "starting";
    case State::Running:
      return "running";
    case State::Stopping:
      return "stopping";
  }
  return "";
}

bool ApplicationProcess::sendOrder(const char* order) {
  Record record;
  record.putString(kOrder, order);
  OutgoingPayload payload(record, "");  // always short
  Kelp::IpcEventSender sender(m_address, m_self);
  return sender.sendOneWayRequest(payload.data<Kelp::IpcDataOneWayRequest>(), payload.size()) ==
         Kelp::CommonReturnCode_Ok;
}

}  // namespace KelpExample
