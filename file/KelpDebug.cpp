#include "KelpDebug.h"

#include <string>

#include "FilePathManager.h"
#include "SysFunc.h"
#include "foundation/Diagnostics.h"

using Kelp::FilePathManager;
using Kelp::SysFunc;

namespace {

struct LogFileInfo {
  const char* owner;
  const char* group;
  const char* mode;
};

constexpr LogFileInfo logFileInfo[] = {
    {"root", "root", "644"}, {"root", "kelpapp", "664"},  // processes of the application group write these
};
constexpr int kKinds = sizeof(logFileInfo) / sizeof(logFileInfo[0]);

std::string logFilePath(const std::string& directory, const char* name) {
  return directory + "/pf_" + name + ".log";
}

}  // namespace

void KelpDebugCreateLogDir() {
  const std::string directory = FilePathManager::getLogPath();
  if (SysFunc::kelpStat(directory) < 0) {
    SysFunc::kelpMkdir(directory, 0755);
  }
}

void KelpDebugGenerateLogFile(const char* name, int kind) {
  if (kind < 0 || kind >= kKinds) {
    KELP_LOG_ERROR("ERROR: Unknown kind of debug log file (kind = %d)\n", kind);
    return;
  }
  KelpDebugCreateLogDir();
  const LogFileInfo& info = logFileInfo[kind];
  const std::string path = logFilePath(FilePathManager::getLogPath(), name);
  SysFunc::kelpExec("touch " + path);
  SysFunc::kelpExec(std::string("chown ") + info.owner + "." + info.group + " " + path);
  SysFunc::kelpExec(std::string("chmod ") + info.mode + " " + path);
}

void KelpDebugRemoveLogFile(const char* name) {
  SysFunc::kelpExec("rm -f " + logFilePath(FilePathManager::getLogPath(), name) + "*");
  SysFunc::kelpExec("rm -f " + logFilePath(FilePathManager::getLogBackupPath(), name) + "*");
}
