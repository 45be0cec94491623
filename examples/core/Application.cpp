#include "core/Application.h"

#include "FilePathManager.h"
#include "common/Note.h"
#include "common/WebApi.h"

namespace KelpExample {

Application::Application(const std::string& name, int installId, const Kelp::IpcAddress& self)
    : m_name(name),
      m_installId(installId),
      m_self(self),
      m_preferences(Kelp::FilePathManager::getAppPrefsFilePath(name)) {
  if (!m_preferences.isValid()) {
    note("the preferences of application %s cannot be read", name.c_str());
  }
}

const std::string& Application::getName() const {
  return m_name;
}

int Application::getInstallId() const {
  return m_installId;
}

Kelp::CommonReturnCode_t Application::start(int execId, const std::string& args) {
  auto process = std::make_unique<ApplicationProcess>(m_name, m_installId, execId, args, m_self);
  if (!process->start()) {
    return Kelp::CommonReturnCode_ApplicationStartError;
  }
  m_process = std::move(process);
  return Kelp::CommonReturnCode_Ok;
}

ApplicationProcess* Application::process() const {
  return m_process.get();
}

void Application::handleEnd(int waitStatus) {
  m_process->handleEnd(waitStatus);
  m_process.reset();
}

ApplicationPreferences& Application::preferences() {
  return m_preferences;
}

std::string Application::savedPreferencesPath() const {
  return Kelp::FilePathManager::getAppPrefsBackupFilePath(m_name);
}

void Application::announcePreferences() const {
  if (m_process != nullptr) {
    m_process->orderToReadPreferences();
  }
}

void Application::describe(Record& record) const {
  record.putHexadecimal(kInstallId, m_installId);
  record.putHexadecimal(kFuncId, m_preferences.getFuncId());
  record.putString(kAppVersion, m_preferences.getVersion());
  record.putString(kAppName, m_name);
  if (m_process == nullptr) {
    record.putString(kStatus, "stopped");
    return;
  }
  m_process->describe(record);
}

}  // namespace KelpExample
