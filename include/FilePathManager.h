// The platform's directory layout: every fixed path, and the names of FIFOs and temporary files. Whoever needs a path
// asks here. Nothing is created or checked; names are put into the paths as they are given.
//
// "hex8" below is an integer as eight upper-case hexadecimal digits; negative ones show their two's complement.
//
// Threads: all operations can be called on any thread; each temporary name is given out once in a process until its
// counter wraps at 2^32.
#ifndef KELP_FILE_FILE_PATH_MANAGER_H
#define KELP_FILE_FILE_PATH_MANAGER_H

#include <stdint.h>

#include <atomic>
#include <string>

#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT FilePathManager {
 public:
  // Fixed roots.
  static std::string getRamPath();           // "/tmp"
  static std::string getRomPath();           // "/mnt/system/kelp"
  static std::string getLogPath();           // "/var/log/kelp"
  static std::string getLogBackupPath();     // "/mnt/log/kelp"
  static std::string getLxcVarLibLxcPath();  // "/var/lib/lxc"
  static std::string getLxcBinDirPath();     // "/bin"
  static std::string getLxcDirPath();        // empty: paths built on it start at the root
  static std::string getBusyboxPath();       // "/bin/busybox"

  // The directory of the running executable. Its path is cut at 255 bytes; leaves a trace line.
  static std::string getKelpCoreBinDirPath();

  // The core daemon.
  static std::string getCoreBasePath();                     // "/mnt/system/kelp/Kelp"
  static std::string getCoreDataPath();                     // "/mnt/system/kelp/Kelp/data"
  static std::string getCoreDataAppProfilePath(int appNo);  // the data path, then "/" and appNo as hex8
  static std::string getCoreTmpPath();                      // "/tmp/Kelp"
  static std::string getCoreFifoPath();                     // "/tmp/Kelp/fifocore"
  static std::string getCoreTmpFilePath();                  // "/tmp/Kelp/core" and a counter as hex8

  // The FIFOs of API clients and applications: "/tmp/Kelp/fifo", then pid as hex8, or id1 and id2 joined by "_".
  static std::string getApiFifoPath(int pid);
  static std::string getAppFifoPath(int id1, int id2);

  // An installed application, below "/mnt/system/kelp/Kelpapp/NAME". The files of its configuration are below "conf"
  // where that exists and below "info" elsewhere, looked at anew on each call.
  static std::string getAppBasePath();  // "/mnt/system/kelp/Kelpapp"
  static std::string getAppPath(const std::string& appName);
  static std::string getAppDataPath(const std::string& appName);             // ".../data"
  static std::string getAppBinPath(const std::string& appName);              // ".../bin"
  static std::string getAppSetupPath(const std::string& appName);            // ".../setup"
  static std::string getAppConfPath(const std::string& appName);             // ".../conf" or ".../info"
  static std::string getAppPrefsFilePath(const std::string& appName);        // ".../conf/appPrefs.json"
  static std::string getAppPrefsTmpFilePath(const std::string& appName);     // ".../conf/tmpPrefs", a counter as hex8
  static std::string getAppProfileFilePath(const std::string& appName);      // ".../conf/profile.bin"
  static std::string getAppInstallInfoFilePath(const std::string& appName);  // ".../conf/applicationInfo.bin"

  // The backup of an application beside its tree: "/mnt/system/kelp/Kelpapp/~NAME". Its preferences are always below
  // "conf".
  static std::string getAppBackupPath(const std::string& appName);
  static std::string getAppPrefsBackupFilePath(const std::string& appName);  // ".../conf/appPrefs.json"
  static std::string getAppModifyFilePath();                                 // "/mnt/system/kelp/Kelpapp/appModify"

  // An application's files in RAM. The two kinds of temporary file share one counter.
  static std::string getAppTmpBasePath();                   // "/tmp/Kelpapp"
  static std::string getAppTmpPath(int appNo);              // "/tmp/Kelpapp/", appNo as hex8
  static std::string getAppTmpFilePath(int appNo, int id);  // ".../app", id and a counter as hex8 joined by "_"
  static std::string getAppTmpFilePathFromCore(int appNo);  // ".../appfromcore", a counter as hex8

  // "app", appNo as hex8, "_" and `name`, cut at 19 characters: 7 are left for the name.
  static std::string getAppLogName(int appNo, const char* name);

 private:
  KELP_LOCAL static std::atomic<uint32_t> s_coreCount;
  KELP_LOCAL static std::atomic<uint32_t> s_appCount;
  KELP_LOCAL static std::atomic<uint32_t> s_prefCount;
};

}  // namespace Kelp

#endif  // KELP_FILE_FILE_PATH_MANAGER_H
