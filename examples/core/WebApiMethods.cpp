#include "core/WebApiMethods.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "AbsoluteTime.h"
#include "common/WebApi.h"

namespace KelpExample {

namespace {

void putNames(const char* arrayName, const std::vector<std::string>& names, Record& record) {
  record.beginArray(arrayName);
  for (const std::string& name : names) {
    record.putString("", name);
  }
  record.endArray();
}

}  // namespace

WebApiMethods::WebApiMethods(ApplicationTable& applications, PackageUpdates& updates)
    : m_applications(applications), m_updates(updates) {}

void WebApiMethods::handle(CallPtr call) {
  using Method = void (WebApiMethods::*)(CallPtr);
  static const std::map<std::string, Method> s_methods = {
      {"getApplicationList", &WebApiMethods::getApplicationList},
      {"getPreferences", &WebApiMethods::getPreferences},
      {"getStatus", &WebApiMethods::getStatus},
      {"initAllData", &WebApiMethods::initAllData},
      {"restorePreferences", &WebApiMethods::restorePreferences},
      {"savePreferences", &WebApiMethods::savePreferences},
      {"setPreference", &WebApiMethods::setPreference},
      {"startApplication", &WebApiMethods::startApplication},
      {"stopApplication", &WebApiMethods::stopApplication},
      {"updateApplication", &WebApiMethods::updateApplication},
  };
  std::string name;
  call->request().getString(kMethodName, name);
  const auto method = s_methods.find(name);
  if (method == s_methods.end()) {
    call->answer(Kelp::CommonReturnCode_InvalidMethod);
    return;
  }
  (this->*method->second)(std::move(call));
}

void WebApiMethods::beginShutdown() {
  m_isShuttingDown = true;
}

void WebApiMethods::getApplicationList(CallPtr call) {
  Record& results = call->results();
  results.beginArray(kApplications);
  for (const auto& application : m_applications.all()) {
    results.beginStruct("");
    application->describe(results);
    results.endStruct();
  }
  results.endArray();
  call->answer(Kelp::CommonReturnCode_Ok);
}

void WebApiMethods::startApplication(CallPtr call) {
  Application* application = findInstalled(*call);
  if (application == nullptr) {
    call->answer(Kelp::CommonReturnCode_InvalidInstallId);
    return;
  }
  int processId = 0;
  if (call->request().getNumber(kProcessId, processId) && processId != 0) {
    call->answer(Kelp::CommonReturnCode_InvalidProcessId);  // which one it becomes is not the caller's choice
    return;
  }
  if (!isAtRest(*application)) {
    call->answer(Kelp::CommonReturnCode_BadApplicationStatus);
    return;
  }
  std::string args;
  call->request().getString(kArgs, args);
  const int execId = m_applications.createExecId();
  call->results().putDecimal(kExecId, execId);
  call->answer(application->start(execId, args));
}

void WebApiMethods::stopApplication(CallPtr call) {
  Application* application = nullptr;
  const Kelp::CommonReturnCode_t code = findRunning(*call, application);
  if (code != Kelp::CommonReturnCode_Ok) {
    call->answer(code);
    return;
  }
  application->process()->stop(std::move(call));
}

void WebApiMethods::updateApplication(CallPtr call) {
  const Application* application = findInstalled(*call);
  if (application == nullptr) {
    call->answer(Kelp::CommonReturnCode_InvalidInstallId);
    return;
  }
  if (!isAtRest(*application)) {
    call->answer(Kelp::CommonReturnCode_BadApplicationStatus);
    return;
  }
  m_updates.begin(std::move(call), *application);
}

void WebApiMethods::getPreferences(CallPtr call) {
  Application* application = findInstalled(*call);
  if (application == nullptr) {
    call->answer(Kelp::CommonReturnCode_InvalidInstallId);
    return;
  }
  if (!application->preferences().isValid()) {
    call->answer(Kelp::CommonReturnCode_InvalidApplicationPreference);
    return;
  }
  application->preferences().describe(call->results());
  call->answer(Kelp::CommonReturnCode_Ok);
}

// A device whose platform keeps no running time has none to tell.
void WebApiMethods::getStatus(CallPtr call) {
  int runningCount = 0;
  for (const auto& application : m_applications.all()) {
    runningCount += application->process() == nullptr ? 0 : 1;
  }
  Record& results = call->results();
  results.putDecimal("installedCount", static_cast<int32_t>(m_applications.all().size()));
  results.putDecimal("runningCount", runningCount);
  const int minutes = Kelp::AbsoluteTime::getTime();
  if (minutes >= 0) {
    results.putDecimal("deviceMinutes", minutes);
  }
  call->answer(Kelp::CommonReturnCode_Ok);
}

void WebApiMethods::setPreference(CallPtr call) {
  Application* application = findInstalled(*call);
  if (application == nullptr) {
    call->answer(Kelp::CommonReturnCode_InvalidInstallId);
    return;
  }
  std::string name;
  std::string value;
  std::string type;
  const Record& request = call->request();
  if (!request.getString(kPrefName, name) || !request.getString(kPrefValue, value) ||
      !request.getString(kPrefType, type)) {
    call->answer(Kelp::CommonReturnCode_InvalidProtocol);
    return;
  }
  const Kelp::CommonReturnCode_t code = application->preferences().set(name, value, type);
  if (code == Kelp::CommonReturnCode_Ok) {
    application->announcePreferences();
  }
  call->results().putString(kPrefName, name);
  call->answer(code);
}

void WebApiMethods::savePreferences(CallPtr call) {
  Application* application = findInstalled(*call);
  if (application == nullptr) {
    call->answer(Kelp::CommonReturnCode_InvalidInstallId);
    return;
  }
  const std::filesystem::path path = application->savedPreferencesPath();
  std::error_code ignored;  // a directory that cannot be made shows when the file is written
  std::filesystem::create_directories(path.parent_path(), ignored);
  call->answer(application->preferences().saveTo(path));
}

void WebApiMethods::restorePreferences(CallPtr call) {
  Application* application = findInstalled(*call);
  if (application == nullptr) {
    call->answer(Kelp::CommonReturnCode_InvalidInstallId);
    return;
  }
  std::vector<std::string> changed;
  const Kelp::CommonReturnCode_t code =
      application->preferences().restoreFrom(application->savedPreferencesPath(), changed);
  if (code == Kelp::CommonReturnCode_Ok) {
    application->announcePreferences();
  }
  putNames("changed", changed, call->results());
  call->answer(code);
}

// There is only one extent of it so far, 0, which a caller need not name.
// Goes on after a failure: one broken file keeps no other application from its defaults.
void WebApiMethods::initAllData(CallPtr call) {
  int resetCode = 0;
  if (call->request().getNumber(kResetCode, resetCode) && resetCode != 0) {
    call->answer(Kelp::CommonReturnCode_InvalidParameter);
    return;
  }
  Kelp::CommonReturnCode_t result = Kelp::CommonReturnCode_Ok;
  for (const auto& application : m_applications.all()) {
    const Kelp::CommonReturnCode_t code = application->preferences().setDefaults();
    if (code != Kelp::CommonReturnCode_Ok) {
      result = code;
      continue;
    }
    application->announcePreferences();
  }
  call->answer(result);
}

Application* WebApiMethods::findInstalled(const WebApiCall& call) const {
  int installId = 0;
  call.request().getNumber(kInstallId, installId);
  return m_applications.findByInstallId(installId);
}

// A run is named by its exec id, or by application and process.
Kelp::CommonReturnCode_t WebApiMethods::findRunning(const WebApiCall& call, Application*& application) const {
  int number = 0;
  if (!call.request().getNumber(kProcessId, number)) {
    call.request().getNumber(kExecId, number);
    application = m_applications.findByExecId(number);
    return application == nullptr ? Kelp::CommonReturnCode_InvalidExecId : Kelp::CommonReturnCode_Ok;
  }
  application = findInstalled(call);
  if (application == nullptr) {
    return Kelp::CommonReturnCode_InvalidInstallId;
  }
  const bool isRunning = application->process() != nullptr && application->process()->getPid() == number;
  return isRunning ? Kelp::CommonReturnCode_Ok : Kelp::CommonReturnCode_InvalidProcessId;
}

// An application neither starts nor is updated while it runs or is updated.
bool WebApiMethods::isAtRest(const Application& application) const {
  return !m_isShuttingDown && application.process() == nullptr && !m_updates.isUpdating(application);
}

}  // namespace KelpExample
