#include "FilePathManager.h"

#include <libgen.h>
#include <stdio.h>
#include <unistd.h>

#include "SysFunc.h"
#include "foundation/Diagnostics.h"

namespace Kelp {

namespace {

constexpr size_t kHexBytes = 10;
constexpr size_t kHexPairBytes = 20;
constexpr size_t kAppLogNameBytes = 20;
constexpr size_t kLinkBytes = 256;

std::string hex8(uint32_t value) {
  char text[kHexBytes];
  snprintf(text, sizeof(text), "%08X", value);
  return text;
}

std::string hex8(int value) {
  return hex8(static_cast<uint32_t>(value));
}

std::string hex8Pair(int first, uint32_t second) {
  char text[kHexPairBytes];
  snprintf(text, sizeof(text), "%08X_%08X", static_cast<uint32_t>(first), second);
  return text;
}

}  // namespace

std::atomic<uint32_t> FilePathManager::s_coreCount{0};
std::atomic<uint32_t> FilePathManager::s_appCount{0};
std::atomic<uint32_t> FilePathManager::s_prefCount{0};

std::string FilePathManager::getRamPath() {
  return "/tmp";
}

std::string FilePathManager::getRomPath() {
  return "/mnt/system/kelp";
}

std::string FilePathManager::getLogPath() {
  return "/var/log/kelp";
}

std::string FilePathManager::getLogBackupPath() {
  return "/mnt/log/kelp";
}

std::string FilePathManager::getLxcVarLibLxcPath() {
  return "/var/lib/lxc";
}

std::string FilePathManager::getLxcBinDirPath() {
  return "/bin";
}

std::string FilePathManager::getLxcDirPath() {
  return "";
}

std::string FilePathManager::getBusyboxPath() {
  return "/bin/busybox";
}

std::string FilePathManager::getKelpCoreBinDirPath() {
  char target[kLinkBytes];
  const ssize_t size = ::readlink("/proc/self/exe", target, sizeof(target) - 1);
  KELP_ASSERT(size > 0, "size > 0");
  target[size] = '\0';
  KELP_LOG_TRACE("readlink('/proc/self/exe')=%s\n", static_cast<const char*>(target));
  return ::dirname(target);  // NOLINT(concurrency-mt-unsafe): works on this call's own buffer
}

std::string FilePathManager::getCoreBasePath() {
  return getRomPath() + "/Kelp";
}

std::string FilePathManager::getCoreDataPath() {
  return getCoreBasePath() + "/data";
}

std::string FilePathManager::getCoreDataAppProfilePath(int appNo) {
  return getCoreDataPath() + "/" + hex8(appNo);
}

std::string FilePathManager::getCoreTmpPath() {
  return getRamPath() + "/Kelp";
}

std::string FilePathManager::getCoreFifoPath() {
  return getCoreTmpPath() + "/fifocore";
}

std::string FilePathManager::getCoreTmpFilePath() {
  return getCoreTmpPath() + "/core" + hex8(s_coreCount++);
}

std::string FilePathManager::getApiFifoPath(int pid) {
  return getCoreTmpPath() + "/fifo" + hex8(pid);
}

std::string FilePathManager::getAppFifoPath(int id1, int id2) {
  return getCoreTmpPath() + "/fifo" + hex8(id1) + "_" + hex8(id2);
}

std::string FilePathManager::getAppBasePath() {
  return getRomPath() + "/Kelpapp";
}

std::string FilePathManager::getAppPath(const std::string& appName) {
  return getAppBasePath() + "/" + appName;
}

std::string FilePathManager::getAppDataPath(const std::string& appName) {
  return getAppPath(appName) + "/data";
}

std::string FilePathManager::getAppBinPath(const std::string& appName) {
  return getAppPath(appName) + "/bin";
}

std::string FilePathManager::getAppSetupPath(const std::string& appName) {
  return getAppPath(appName) + "/setup";
}

std::string FilePathManager::getAppConfPath(const std::string& appName) {
  const std::string confPath = getAppPath(appName) + "/conf";
  return SysFunc::kelpStat(confPath) == -1 ? getAppPath(appName) + "/info" : confPath;
}

std::string FilePathManager::getAppPrefsFilePath(const std::string& appName) {
  return getAppConfPath(appName) + "/appPrefs.json";
}

std::string FilePathManager::getAppPrefsTmpFilePath(const std::string& appName) {
  return getAppConfPath(appName) + "/tmpPrefs" + hex8(s_prefCount++);
}

std::string FilePathManager::getAppProfileFilePath(const std::string& appName) {
  return getAppConfPath(appName) + "/profile.bin";
}

std::string FilePathManager::getAppInstallInfoFilePath(const std::string& appName) {
  return getAppConfPath(appName) + "/applicationInfo.bin";
}

std::string FilePathManager::getAppBackupPath(const std::string& appName) {
  return getAppBasePath() + "/~" + appName;
}

std::string FilePathManager::getAppPrefsBackupFilePath(const std::string& appName) {
  return getAppBackupPath(appName) + "/conf/appPrefs.json";
}

std::string FilePathManager::getAppModifyFilePath() {
  return getAppBasePath() + "/appModify";
}

std::string FilePathManager::getAppTmpBasePath() {
  return getRamPath() + "/Kelpapp";
}

std::string FilePathManager::getAppTmpPath(int appNo) {
  return getAppTmpBasePath() + "/" + hex8(appNo);
}

std::string FilePathManager::getAppTmpFilePath(int appNo, int id) {
  return getAppTmpPath(appNo) + "/app" + hex8Pair(id, s_appCount++);
}

std::string FilePathManager::getAppTmpFilePathFromCore(int appNo) {
  return getAppTmpPath(appNo) + "/appfromcore" + hex8(s_appCount++);
}

std::string FilePathManager::getAppLogName(int appNo, const char* name) {
  char text[kAppLogNameBytes];
  snprintf(text, sizeof(text), "app%08X_%s", static_cast<uint32_t>(appNo), name);
  return text;
}

}  // namespace Kelp
