#include "core/PackageUpdates.h"

#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "FileOperator.h"
#include "FilePathManager.h"
#include "SysFunc.h"
#include "common/WebApi.h"

namespace KelpExample {

namespace {

using Kelp::CommonReturnCode_t;
using Kelp::FilePathManager;

// Any local process could have put anything there: a link, a FIFO that blocks, a file without end. An empty file is no
// package.
CommonReturnCode_t checkStatus(const struct stat& status) {
  if (!S_ISREG(status.st_mode) || status.st_size == 0) {
    return Kelp::CommonReturnCode_InvalidProtocol;
  }
  const bool isTooLarge = status.st_size > static_cast<off_t>(kMaxUploadBytes);
  return isTooLarge ? Kelp::CommonReturnCode_NotEnoughMemory : Kelp::CommonReturnCode_Ok;
}

CommonReturnCode_t checkFile(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0 ? checkStatus(status) : Kelp::CommonReturnCode_InvalidProtocol;
}

// The caller's file is the core's own from here on: nobody changes it any more, and a caller that gives up waiting does
// not take it away from under the worker.
bool takeOver(int clientPid, const std::string& path) {
  return rename(requestFilePath(clientPid).c_str(), path.c_str()) == 0;
}

// A path by which the process reaches what the descriptor stands for.
std::string descriptorPath(int fd) {
  return "/proc/self/fd/" + std::to_string(fd);
}

std::string actualPath(int fd) {
  char path[PATH_MAX];
  const ssize_t size = readlink(descriptorPath(fd).c_str(), path, sizeof(path));
  return std::string(path, size < 0 ? 0 : static_cast<size_t>(size));
}

// The record of an update that names this path.
bool writeRecord(const std::string& requestPath, const std::string& path) {
  const std::string record = std::string(8, '\0') + path + '\0';  // code and install id, which is not looked at again
  const auto size = static_cast<int>(record.size());
  Kelp::FileOperator file(requestPath, false);
  return file.open(O_WRONLY | O_TRUNC, 0) == 0 && file.write(record.data(), size) == size;
}

// A record names a file of this machine, and its caller may be anybody: only those files can be meant that applications
// have put into their own place in RAM. The name is looked up once, and the record then names what was found: by the
// time that it is read, the application could have put a link to somewhere else there.
CommonReturnCode_t holdNamedPackage(const std::string& requestPath, Kelp::FdOperator& package) {
  std::string path;
  if (makeParser(RequestForm::Binary, requestPath)->getStringData(kApplicationPackage, path) !=
      Kelp::CommonReturnCode_Ok) {
    return Kelp::CommonReturnCode_InvalidProtocol;
  }
  package.setFd(open(path.c_str(), O_PATH | O_CLOEXEC));  // looks it up and does not touch it
  const std::string place = FilePathManager::getAppTmpBasePath() + "/";
  struct stat status;
  if (actualPath(package.getFd()).compare(0, place.size(), place) != 0 || fstat(package.getFd(), &status) != 0) {
    return Kelp::CommonReturnCode_PermissionDenied;
  }
  const CommonReturnCode_t code = checkStatus(status);
  if (code != Kelp::CommonReturnCode_Ok) {
    return code;
  }
  return writeRecord(requestPath, descriptorPath(package.getFd())) ? Kelp::CommonReturnCode_Ok
                                                                   : Kelp::CommonReturnCode_IoError;
}

std::string packagePath(const Application& application) {
  return FilePathManager::getAppSetupPath(application.getName()) + "/package";
}

// What is in a form may be large, and is left to the worker.
CommonReturnCode_t checkUpload(RequestForm form, const std::string& requestPath, Kelp::FdOperator& package) {
  const CommonReturnCode_t code = checkFile(requestPath);
  return code == Kelp::CommonReturnCode_Ok && form == RequestForm::Binary ? holdNamedPackage(requestPath, package)
                                                                          : code;
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
  const CommonReturnCode_t code = checkUpload(form, requestPath, job->namedPackage());
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
