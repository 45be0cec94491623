// The words of the example's web API, as they stand in requests, answers and the records between the processes.
#ifndef KELP_EXAMPLES_COMMON_WEB_API_H
#define KELP_EXAMPLES_COMMON_WEB_API_H

#include "KelpReturnCode.h"

namespace KelpExample {

constexpr char kMethodName[] = "methodName";
constexpr char kCallback[] = "callback";  // a number of the caller's choice, which comes back in the answer
constexpr char kReturnCode[] = "returnCode";

constexpr char kInstallId[] = "installId";
constexpr char kExecId[] = "execId";
constexpr char kProcessId[] = "processId";
constexpr char kFuncId[] = "funcId";
constexpr char kAppName[] = "appName";
constexpr char kAppVersion[] = "appVersion";
constexpr char kApplications[] = "applications";
constexpr char kStatus[] = "status";
constexpr char kArgs[] = "args";
constexpr char kResetCode[] = "resetCode";
constexpr char kApplicationPackage[] = "applicationPackage";
constexpr char kPrefName[] = "prefName";
constexpr char kPrefType[] = "prefType";
constexpr char kPrefValue[] = "prefValue";

// In which form the call was made; only between API client and core.
constexpr char kRequestForm[] = "requestForm";

// What the core says to an application, and an application to the core, in one-way messages.
constexpr char kOrder[] = "order";
constexpr char kOrderStop[] = "stop";
constexpr char kOrderReadPreferences[] = "readPreferences";
constexpr char kReportCount[] = "reportCount";
constexpr char kReportText[] = "reportText";

// Whether the number is one of the codes that have a text. A number that came from another process may be any.
bool isReturnCode(int number);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_COMMON_WEB_API_H
