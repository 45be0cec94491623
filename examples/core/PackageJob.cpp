#include "core/PackageJob.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include "RequestDecoder.h"
#include "SysFunc.h"
#include "common/WebApi.h"

namespace KelpExample {

PackageJob::PackageJob(RequestForm form, const std::string& requestPath, const std::string& packagePath)
    : m_form(form), m_request(requestPath, true), m_packagePath(packagePath) {}

PackageJob::~PackageJob() = default;

// The stack is small: the parser goes to the heap, and the library's buffers are there already.
void PackageJob::executeInWorkerThread() {
  const std::string newPath = m_packagePath + "~";
  m_result = decode(newPath);
  if (m_result == Kelp::CommonReturnCode_Ok) {
    m_result = putInPlace(newPath);
  }
  if (m_result != Kelp::CommonReturnCode_Ok) {
    unlink(newPath.c_str());
  }
}

Kelp::FdOperator& PackageJob::namedPackage() {
  return m_namedPackage;
}

Kelp::CommonReturnCode_t PackageJob::getResult() const {
  return m_result;
}

Kelp::CommonReturnCode_t PackageJob::decode(const std::string& toPath) const {
  const std::unique_ptr<Kelp::RpcParser> parser = makeParser(m_form, m_request.getPath());
  Kelp::RequestDecoder decoder(*parser);
  return decoder.getAppPackage(kApplicationPackage, toPath);
}

// A pipe may stand for the file: opening it must not wait, and it cannot be synced.
Kelp::CommonReturnCode_t PackageJob::putInPlace(const std::string& fromPath) const {
  Kelp::FileOperator file(fromPath, false);
  if (file.open(O_RDONLY | O_NONBLOCK, 0) != 0) {
    return Kelp::CommonReturnCode_IoError;
  }
  if (fsync(file.getFd()) != 0 && errno != EINVAL) {
    return Kelp::CommonReturnCode_IoError;
  }
  const Kelp::CommonReturnCode_t code = Kelp::SysFunc::kelpRename(fromPath, m_packagePath);
  sync();  // the new name, and the directory where it is new too
  return code;
}

}  // namespace KelpExample
