#include "core/PackageUpdates.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>

#include "FilePathManager.h"
#include "SysFunc.h"
#include "common/WebApi.h"

namespace KelpExample {

namespace {

using Kelp::CommonReturnCode_t;
using Kelp::FilePathManager;

// Any local process could have put anything there: a link, a FIFO that blocks, a file without end. An empty file is no
// package.
CommonReturnCode_t checkFile(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0) {
    return Kelp::CommonReturnCode_InvalidProtocol;
  }
  const bool isTooLarge = status.st_size > static_cast<off_t>(kMaxUploadBytes);
  return isTooLarge ? Kelp::CommonReturnCode_NotEnoughMemory : Kelp::CommonReturnCode_Ok;
}

// The caller's file is the core's own from here on: nobody changes it any more, and a caller that gives up waiting does
// not take it away from under the worker.
bool takeOver(int clientPid, const std::string& path) {
  return rename(requestFilePath(clientPid).c_str(), path.c_str()) == 0;
}

// A record names a file of this machine, and its caller may be anybody: only those files can be meant that applications
// have put into their own place in RAM.
CommonReturnCode_t checkNamedPackage(const std::string& requestPath) {
  std::string path;
  if (makeParser(RequestForm::Binary, requestPath)->getStringData(kApplicationPackage, path) !=
      Kelp::CommonReturnCode_Ok) {
    return Kelp::CommonReturnCode_InvalidProtocol;
  }
  const std::unique_ptr<char, decltype(&free)> resolved(realpath(path.c_str(), nullptr), &free);
  const std::string place = FilePathManager::getAppTmpBasePath() + "/";
  if (resolved == nullptr || strncmp(place.c_str(), resolved.get(), place.size()) != 0) {
    return Kelp::CommonReturnCode_PermissionDenied;
  }
  return checkFile(path);
}

std::string packagePath(const Application& application) {
  return FilePathManager::getAppSetupPath(application.getName()) + "/package";
}

// What is in a form may be large, and is left to the worker.
CommonReturnCode_t checkUpload(RequestForm form, const std::string& requestPath) {
  const CommonReturnCode_t code = checkFile(requestPath);
  return code == Kelp::CommonReturnCode_Ok && form == RequestForm::Binary ? checkNamedPackage(requestPath) : code;
}

bool getForm(const WebApiCall& call, RequestForm& form) {
  int32_t number;
  if (!call.request().getNumber(kRequestForm, number) || number < static_cast<int32_t>(RequestForm::UrlEncoded) ||
      number > static_cast<int32_t>(RequestForm::Binary)) {
    return false;
  }
  form = static_cast<RequestForm>(number);
  return true;
}

}  // namespace

PackageUpdates::PackageUpdates(std::function<void()> onEnd) : m_onEnd(std::move(onEnd)) {}

PackageUpdates::~PackageUpdates() = default;

bool PackageUpdates::isIdle() const {
  return m_updates.empty();
}

bool PackageUpdates::isUpdating(const Application& application) const {
  return std::any_of(m_updates.begin(), m_updates.end(),
                     [&](const Update& update) { return update.application == &application; });
}

void PackageUpdates::begin(std::unique_ptr<WebApiCall> call, const Application& application) {
  RequestForm form;
  const std::string requestPath = FilePathManager::getCoreTmpFilePath();
  if (!getForm(*call, form) || !takeOver(call->getClientPid(), requestPath)) {
    call->answer(Kelp::CommonReturnCode_InvalidProtocol);
    return;
  }
  auto job = std::make_unique<PackageJob>(form, requestPath, packagePath(application));  // removes it in any case
  const CommonReturnCode_t code = checkUpload(form, requestPath);
  if (code != Kelp::CommonReturnCode_Ok) {
    call->answer(code);
    return;
  }
  mkdir(FilePathManager::getAppSetupPath(application.getName()).c_str(), 0755);  // usually there
  m_updates.push_back({&application, std::move(call), std::move(job)});
  Kelp::WorkerThreadService::getInstance().putRequest(*m_updates.back().job, *this);
}

void PackageUpdates::notifyFromWorkerThread(Kelp::WorkerThreadExecId_t /*execId*/,
                                            Kelp::WorkerThreadService::RequestToWorkerThread& request) {
  const auto update =
      std::find_if(m_updates.begin(), m_updates.end(), [&](const Update& u) { return u.job.get() == &request; });
  const long long size = Kelp::SysFunc::kelpStat(packagePath(*update->application));
  update->call->results().putDecimal("packageSize", static_cast<int32_t>(size));
  update->call->answer(update->job->getResult());
  m_updates.erase(update);
  m_onEnd();
}

}  // namespace KelpExample
