// Decodes an uploaded package into its place. All that blocks or takes long happens on a worker thread.
#ifndef KELP_EXAMPLES_CORE_PACKAGE_JOB_H
#define KELP_EXAMPLES_CORE_PACKAGE_JOB_H

#include <string>

#include "FileOperator.h"
#include "KelpReturnCode.h"
#include "WorkerThreadService.h"
#include "common/RequestFile.h"

namespace KelpExample {

class PackageJob : public Kelp::WorkerThreadService::RequestToWorkerThread {
 public:
  // `requestPath`: the body of the call, which is removed with this object. `packagePath`: where the package goes; one
  // of before is replaced only when the new one is whole and on disk.
  PackageJob(RequestForm form, const std::string& requestPath, const std::string& packagePath);
  ~PackageJob() override;
  PackageJob(const PackageJob&) = delete;
  PackageJob& operator=(const PackageJob&) = delete;

  void executeInWorkerThread() override;

  // For the file that a request names, which has to stay reachable by its descriptor until it has been decoded; none at
  // first.
  Kelp::FdOperator& namedPackage();

  // What came of it, once it has been executed: 0; 10 the package is no Base64 text; 15 it cannot be read or written.
  Kelp::CommonReturnCode_t getResult() const;

 private:
  Kelp::CommonReturnCode_t decode(const std::string& toPath) const;
  Kelp::CommonReturnCode_t putInPlace(const std::string& fromPath) const;

  const RequestForm m_form;
  const Kelp::FileOperator m_request;
  Kelp::FdOperator m_namedPackage{true};
  const std::string m_packagePath;
  Kelp::CommonReturnCode_t m_result = Kelp::CommonReturnCode_InternalError;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_CORE_PACKAGE_JOB_H
