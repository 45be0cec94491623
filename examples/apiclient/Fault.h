// Why a call failed, as the caller is told: an HTTP status, and a result code with its text in the JSON answer.
#ifndef KELP_EXAMPLES_APICLIENT_FAULT_H
#define KELP_EXAMPLES_APICLIENT_FAULT_H

#include <string>

#include "KelpReturnCode.h"

namespace KelpExample {

struct Fault {
  int httpStatus = 200;
  Kelp::CommonReturnCode_t code = Kelp::CommonReturnCode_Ok;
  std::string detail;  // what the code's text does not tell; may be empty

  bool isSet() const { return code != Kelp::CommonReturnCode_Ok; }
};

// The fault that a code from the core stands for; not set for 0.
Fault faultOf(Kelp::CommonReturnCode_t code);

// "Not Found" for 404; the statuses that faults have are known.
const char* httpReason(int httpStatus);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_APICLIENT_FAULT_H
