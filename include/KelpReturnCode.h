// The result of nearly every operation of Kelp, and its text.
#ifndef KELP_FOUNDATION_KELP_RETURN_CODE_H
#define KELP_FOUNDATION_KELP_RETURN_CODE_H

#include <string>

#include "KelpExport.h"

namespace Kelp {

// The numbers travel between processes and in fault replies: they never change. 6 and 12 are not in use.
//
// Memory that is out is a result (16, or what an operation says) where it is that of a payload, a value or a file's
// text. Everywhere else it is a failed `new`, which ends the process: nothing here throws or catches an exception, and
// nobody may catch std::bad_alloc around a call and go on. Files are whole then.
enum CommonReturnCode_t : int {
  CommonReturnCode_Ok = 0,
  CommonReturnCode_InvalidParameter = 1,
  CommonReturnCode_InvalidMethod = 2,
  CommonReturnCode_InvalidInstallId = 3,
  CommonReturnCode_InvalidProcessId = 4,
  CommonReturnCode_InvalidExecId = 5,
  CommonReturnCode_InvalidCipherControl = 7,
  CommonReturnCode_CannotExecuteScriptFile = 8,
  CommonReturnCode_InvalidApplicationPackage = 9,
  CommonReturnCode_InvalidProtocol = 10,
  CommonReturnCode_PermissionDenied = 11,
  CommonReturnCode_BadApplicationStatus = 13,
  CommonReturnCode_FileAccessError = 14,
  CommonReturnCode_IoError = 15,
  CommonReturnCode_NotEnoughMemory = 16,
  CommonReturnCode_ApplicationStartError = 17,
  CommonReturnCode_InternalError = 18,
  CommonReturnCode_Exit = 19,
  CommonReturnCode_NotSupported = 20,
  CommonReturnCode_ApplicationAborted = 21,
  CommonReturnCode_InvalidApplicationPreference = 22,
};

class KELP_EXPORT KelpReturnCode {
 public:
  // The code's English text for logs and replies, e.g. "I/O error" for 15. A code without a text is a programming
  // error and ends the process. Can be called on any thread.
  static std::string getReturnCodeString(CommonReturnCode_t code);
};

}  // namespace Kelp

#endif  // KELP_FOUNDATION_KELP_RETURN_CODE_H
