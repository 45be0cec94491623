// An installed application: its identity, its preferences, and its process while it runs.
//
// Threads: the core's loop only.
#ifndef KELP_EXAMPLES_CORE_APPLICATION_H
#define KELP_EXAMPLES_CORE_APPLICATION_H

#include <memory>
#include <string>

#include "KelpReturnCode.h"
#include "core/ApplicationPreferences.h"
#include "core/ApplicationProcess.h"

namespace KelpExample {

class Application {
 public:
  // `self`: the core's address. Borrowed.
  Application(const std::string& name, int installId, const Kelp::IpcAddress& self);

  const std::string& getName() const;
  int getInstallId() const;

  // Returns 0, or 17 when the program cannot be run. REQUIRES: the application does not run.
  Kelp::CommonReturnCode_t start(int execId, const std::string& args);

  // Null while the application does not run.
  ApplicationProcess* process() const;

  // The process has been reaped.
  void handleEnd(int waitStatus);

  ApplicationPreferences& preferences();

  // What the saved preferences are kept in.
  std::string savedPreferencesPath() const;

  // They have changed: a process that runs reads them again.
  void announcePreferences() const;

  void describe(Record& record) const;

 private:
  const std::string m_name;
  const int m_installId;
  const Kelp::IpcAddress& m_self;
  ApplicationPreferences m_preferences;
  std::unique_ptr<ApplicationProcess> m_process;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_CORE_APPLICATION_H
