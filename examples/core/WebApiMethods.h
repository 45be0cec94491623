// The methods of the web API, found by name. To add one: a member function, and a line in the table of handle().
//
// Threads: the core's loop only. A method whose work takes long must do it elsewhere and keep the call meanwhile.
#ifndef KELP_EXAMPLES_CORE_WEB_API_METHODS_H
#define KELP_EXAMPLES_CORE_WEB_API_METHODS_H

#include <memory>

#include "core/ApplicationTable.h"
#include "core/PackageUpdates.h"
#include "core/WebApiCall.h"

namespace KelpExample {

class WebApiMethods {
 public:
  using CallPtr = std::unique_ptr<WebApiCall>;

  // Both are borrowed.
  WebApiMethods(ApplicationTable& applications, PackageUpdates& updates);

  // Runs the method that the request names; "Invalid Method" when there is none.
  void handle(CallPtr call);

  // From now on no application starts, and none is updated.
  void beginShutdown();

 private:
  void getApplicationList(CallPtr call);
  void startApplication(CallPtr call);
  void stopApplication(CallPtr call);
  void updateApplication(CallPtr call);
  void getPreferences(CallPtr call);
  void getStatus(CallPtr call);
  void setPreference(CallPtr call);
  void savePreferences(CallPtr call);
  void restorePreferences(CallPtr call);
  void initAllData(CallPtr call);

  Application* findInstalled(const WebApiCall& call) const;
  Kelp::CommonReturnCode_t findRunning(const WebApiCall& call, Application*& application) const;
  bool isAtRest(const Application& application) const;

  ApplicationTable& m_applications;
  PackageUpdates& m_updates;
  bool m_isShuttingDown = false;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_CORE_WEB_API_METHODS_H
