#include "core/ApplicationTable.h"

#include <dirent.h>

#include <set>
#include <string>

#include "FilePathManager.h"
#include "SysFunc.h"

namespace KelpExample {

namespace {

bool isInstalled(const std::string& name) {
  const bool isHiddenOrBackup = name[0] == '.' || name[0] == '~';
  return !isHiddenOrBackup && Kelp::SysFunc::kelpStat(Kelp::FilePathManager::getAppPrefsFilePath(name)) != -1;
}

std::set<std::string> installedNames() {
  std::set<std::string> names;
  DIR* directory = opendir(Kelp::FilePathManager::getAppBasePath().c_str());
  if (directory == nullptr) {
    return names;
  }
  while (const dirent* entry = readdir(directory)) {
    if (isInstalled(entry->d_name)) {
      names.insert(entry->d_name);
    }
  }
  closedir(directory);
  return names;
}

}  // namespace

ApplicationTable::ApplicationTable(const Kelp::IpcAddress& self) {
  int installId = 0;
  for (const std::string& name : installedNames()) {
    m_applications.push_back(std::make_unique<Application>(name, ++installId, self));
  }
}

const std::vector<std::unique_ptr<Application>>& ApplicationTable::all() const {
  return m_applications;
}

Application* ApplicationTable::findByInstallId(int installId) const {
  return find([&](const Application& application) { return application.getInstallId() == installId; });
}

Application* ApplicationTable::findByExecId(int execId) const {
  return findProcess([&](const ApplicationProcess& process) { return process.getExecId() == execId; });
}

Application* ApplicationTable::findByAddress(const Kelp::IpcAddress& address) const {
  return findProcess([&](const ApplicationProcess& process) { return process.isAddress(address); });
}

bool ApplicationTable::isAnyRunning() const {
  return findProcess([](const ApplicationProcess&) { return true; }) != nullptr;
}

int ApplicationTable::createExecId() {
  return ++m_lastExecId;
}

Application* ApplicationTable::find(const std::function<bool(const Application&)>& isWanted) const {
  for (const auto& application : m_applications) {
    if (isWanted(*application)) {
      return application.get();
    }
  }
  return nullptr;
}

Application* ApplicationTable::findProcess(const std::function<bool(const ApplicationProcess&)>& isWanted) const {
  return find([&](const Application& application) {
    return application.process() != nullptr && isWanted(*application.process());
  });
}

}  // namespace KelpExample
