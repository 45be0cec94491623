// The updates of applications that are under way: at most one for each application. Their work is done by the worker
// threads; the loop takes the upload over, and answers the call when its package is in place.
//
// Threads: the core's loop only.
#ifndef KELP_EXAMPLES_CORE_PACKAGE_UPDATES_H
#define KELP_EXAMPLES_CORE_PACKAGE_UPDATES_H

#include <functional>
#include <list>
#include <memory>
#include <string>

#include "WorkerThreadService.h"
#include "core/Application.h"
#include "core/PackageJob.h"
#include "core/WebApiCall.h"

namespace KelpExample {

class PackageUpdates : public Kelp::WorkerThreadService::WorkerObserver {
 public:
  // `onEnd` is called whenever an update has ended, also one that failed.
  explicit PackageUpdates(std::function<void()> onEnd);
  ~PackageUpdates() override;
  PackageUpdates(const PackageUpdates&) = delete;
  PackageUpdates& operator=(const PackageUpdates&) = delete;

  bool isIdle() const;
  bool isUpdating(const Application& application) const;

  // Takes the caller's file away and has the package in it decoded. Answers the call, sooner or later: 0 with
  // "packageSize"; 10 no such file, or no package in it; 11 a package file that lies elsewhere than uploads may;
  // 15 it cannot be read or written; 16 it is too large. REQUIRES: the application is not being updated.
  void begin(std::unique_ptr<WebApiCall> call, const Application& application);

  void notifyFromWorkerThread(Kelp::WorkerThreadExecId_t execId,
                              Kelp::WorkerThreadService::RequestToWorkerThread& request) override;

 private:
  struct Update {
    const Application* application;
    std::unique_ptr<WebApiCall> call;
    std::unique_ptr<PackageJob> job;
  };

  const std::function<void()> m_onEnd;
  std::list<Update> m_updates;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_CORE_PACKAGE_UPDATES_H
