// All installed applications: those that have a preference file below the platform's directory for applications, in the
// order of their names. Their install ids count from 1.
//
// Threads: the core's loop only.
#ifndef KELP_EXAMPLES_CORE_APPLICATION_TABLE_H
#define KELP_EXAMPLES_CORE_APPLICATION_TABLE_H

#include <functional>
#include <memory>
#include <vector>

#include "IpcAddress.h"
#include "core/Application.h"

namespace KelpExample {

class ApplicationTable {
 public:
  // `self`: the core's address. Borrowed.
  explicit ApplicationTable(const Kelp::IpcAddress& self);

  const std::vector<std::unique_ptr<Application>>& all() const;

  // Each returns null when there is no such application.
  Application* findByInstallId(int installId) const;
  Application* findByExecId(int execId) const;
  Application* findByAddress(const Kelp::IpcAddress& address) const;

  bool isAnyRunning() const;

  // A number that no process had before.
  int createExecId();

 private:
  Application* find(const std::function<bool(const Application&)>& isWanted) const;
  Application* findProcess(const std::function<bool(const ApplicationProcess&)>& isWanted) const;

  std::vector<std::unique_ptr<Application>> m_applications;
  int m_lastExecId = 0;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_CORE_APPLICATION_TABLE_H
