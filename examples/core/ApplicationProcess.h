// An application that runs: a child process, which stands for the container that a device would start. It is told what
// to do through its own FIFO.
//
// Threads: the core's loop only.
#ifndef KELP_EXAMPLES_CORE_APPLICATION_PROCESS_H
#define KELP_EXAMPLES_CORE_APPLICATION_PROCESS_H

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "IpcAddressApp.h"
#include "TimerService.h"
#include "core/WebApiCall.h"

namespace KelpExample {

class ApplicationProcess : public Kelp::TimerService::CyclicTimerObserver {
 public:
  // `args`: what the program is given as its last argument, unless it is empty. `self`: the core's address. Borrowed.
  ApplicationProcess(const std::string& appName, int installId, int execId, const std::string& args,
                     const Kelp::IpcAddress& self);
  ~ApplicationProcess() override;
  ApplicationProcess(const ApplicationProcess&) = delete;
  ApplicationProcess& operator=(const ApplicationProcess&) = delete;

  // Returns false when the program cannot be run.
  bool start();

  // Asks the process to end, and kills it when it has not done so after kPatienceMs. `call`, which may be null, is
  // answered when the process has ended.
  void stop(std::unique_ptr<WebApiCall> call);

  // Tells the process that its preferences have changed.
  void orderToReadPreferences();

  // What the process has told about itself.
  void takeReport(const Record& report);

  // The process has been reaped with this status of waitpid(). Answers who waits for it.
  void handleEnd(int waitStatus);

  pid_t getPid() const;
  int getExecId() const;
  bool isAddress(const Kelp::IpcAddress& address) const;
  void describe(Record& record) const;

  void notifyCyclicTimer(Kelp::TimerId_t timerId, int count) override;

  static constexpr int kPatienceMs = 2000;

 private:
  enum class State { Starting, Running, Stopping };

  const char* stateText() const;
  bool sendOrder(const char* order);

  const std::string m_appName;
  const int m_installId;
  const int m_execId;
  const std::string m_args;
  const Kelp::IpcAddressApp m_address;
  const Kelp::IpcAddress& m_self;
  pid_t m_pid = -1;
  State m_state = State::Starting;
  int m_reportCount = 0;
  std::string m_reportText;
  Kelp::TimerId_t m_killTimer = Kelp::INVALID_TIMER_ID;
  std::vector<std::unique_ptr<WebApiCall>> m_waitingForEnd;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_CORE_APPLICATION_PROCESS_H
