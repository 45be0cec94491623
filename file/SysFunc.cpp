#include "SysFunc.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FilePathManager.h"
#include "file/ZeroUmask.h"
#include "foundation/Diagnostics.h"

namespace Kelp {

namespace {

constexpr size_t kCommandLineBytes = 256;
constexpr size_t kModeBytes = 16;

CommonReturnCode_t resultOf(int systemCallResult) {
  return systemCallResult == 0 ? CommonReturnCode_Ok : CommonReturnCode_IoError;
}

std::string octal(unsigned int mode) {
  char text[kModeBytes];
  snprintf(text, sizeof(text), "%04o", mode);
  return text;
}

}  // namespace

void* SysFunc::kelpMalloc(unsigned int size) {
  return ::malloc(size);
}

void* SysFunc::kelpRealloc(void* pointer, unsigned int size) {
  return ::realloc(pointer, size);
}

void SysFunc::kelpFree(void* pointer) {
  ::free(pointer);
}

// NOLINTBEGIN(performance-unnecessary-value-param): the interface takes these strings by value
long long SysFunc::kelpStat(std::string path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : -1;
}

CommonReturnCode_t SysFunc::kelpRename(std::string from, std::string to) {
  if (::rename(from.c_str(), to.c_str()) != 0) {
    KELP_LOG_ERROR("ERROR: Can't rename %s to %s errno: %d\n", from.c_str(), to.c_str(), errno);
    return CommonReturnCode_IoError;
  }
  return CommonReturnCode_Ok;
}

CommonReturnCode_t SysFunc::kelpExec(std::string command) {
  char line[kCommandLineBytes];
  snprintf(line, sizeof(line), "%s %s", FilePathManager::getBusyboxPath().c_str(), command.c_str());
  const int status = ::system(line);  // NOLINT(concurrency-mt-unsafe): the C library's can be called on any thread
  if (status == -1) {
    KELP_LOG_ERROR("ERROR: system %s\n", command.c_str());
    return CommonReturnCode_IoError;
  }
  if (status != 0) {
    KELP_LOG_ERROR("BUSYBOX error: %s (code = %d)\n", command.c_str(), status);
    return CommonReturnCode_IoError;
  }
  return CommonReturnCode_Ok;
}

// NOLINTEND(performance-unnecessary-value-param)

CommonReturnCode_t SysFunc::kelpRm(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) {
    return CommonReturnCode_IoError;
  }
  if (S_ISDIR(status.st_mode)) {
    return kelpExec("rm -Rf " + path);
  }
  return resultOf(::unlink(path.c_str()));
}

CommonReturnCode_t SysFunc::kelpMkdir(const std::string& path, unsigned int mode) {
  const ZeroUmask zeroUmask;
  return kelpExec("mkdir -p -m " + octal(mode) + " " + path);
}

CommonReturnCode_t SysFunc::kelpChown(const std::string& path, unsigned int owner) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) {
    return CommonReturnCode_IoError;
  }
  if (S_ISDIR(status.st_mode)) {
    return kelpExec("chown -R " + std::to_string(static_cast<int>(owner)) + " " + path);
  }
  constexpr gid_t kKeepGroup = static_cast<gid_t>(-1);
  return resultOf(::chown(path.c_str(), owner, kKeepGroup));
}

CommonReturnCode_t SysFunc::kelpChmod(const std::string& path, unsigned int mode) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) {
    return CommonReturnCode_IoError;
  }
  if (S_ISDIR(status.st_mode)) {
    return kelpExec("chmod -R " + octal(mode) + " " + path);
  }
  return resultOf(::chmod(path.c_str(), mode));
}

}  // namespace Kelp
