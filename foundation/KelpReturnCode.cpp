#include "KelpReturnCode.h"

#include "foundation/Diagnostics.h"

namespace Kelp {

std::string KelpReturnCode::getReturnCodeString(CommonReturnCode_t code) {
  switch (code) {
    case CommonReturnCode_Ok:
      return "OK";
    case CommonReturnCode_InvalidParameter:
      return "Invalid Parameter";
    case CommonReturnCode_InvalidMethod:
      return "Invalid Method";
    case CommonReturnCode_InvalidInstallId:
      return "Invalid Install ID";
    case CommonReturnCode_InvalidProcessId:
      return "Invalid Process ID";
    case CommonReturnCode_InvalidExecId:
      return "Invalid Exec ID";
    case CommonReturnCode_InvalidCipherControl:
      return "Invalid Cipher Control";
    case CommonReturnCode_CannotExecuteScriptFile:
      return "Can't Execute Script File";
    case CommonReturnCode_InvalidApplicationPackage:
      return "Invalid Application Package";
    case CommonReturnCode_InvalidProtocol:
      return "Invalid Protocol";
    case CommonReturnCode_PermissionDenied:
      return "Permission denied";
    case CommonReturnCode_BadApplicationStatus:
      return "Bad Application Status";
    case CommonReturnCode_FileAccessError:
      return "File Access Error";
    case CommonReturnCode_IoError:
      return "I/O error";
    case CommonReturnCode_NotEnoughMemory:
      return "Not Enough Memory";
    case CommonReturnCode_ApplicationStartError:
      return "Application Start Error";
    case CommonReturnCode_InternalError:
      return "Internal Error";
    case CommonReturnCode_Exit:
      return "exit";
    case CommonReturnCode_NotSupported:
      return "Not Supported";
    case CommonReturnCode_ApplicationAborted:
      return "Application aborted";
    case CommonReturnCode_InvalidApplicationPreference:
      return "Invalid Application Preference";
  }
  KELP_FAIL_AT(64, "false", "static std::string Kelp::KelpReturnCode::getReturnCodeString(Kelp::CommonReturnCode_t)");
}

}  // namespace Kelp
