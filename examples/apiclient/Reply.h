// The answer to the caller: a JSON text or, where the call was a binary record, a binary record. Either is made in a
// response file, and printed as a CGI program prints.
#ifndef KELP_EXAMPLES_APICLIENT_REPLY_H
#define KELP_EXAMPLES_APICLIENT_REPLY_H

#include <string>

#include "apiclient/Fault.h"
#include "common/Record.h"
#include "common/RequestFile.h"

namespace KelpExample {

struct CallResult {
  RequestForm form = RequestForm::UrlEncoded;
  Record request;  // what has been read of it
  Fault fault;
  Record answer;  // the core's; empty when there is none
};

// `responseFilePath`: where the answer is made; the file is gone when the function returns. Where it cannot be made, as
// at an empty path, the reply is a fault. Returns false when standard output does not take the reply.
bool printReply(const CallResult& result, const std::string& responseFilePath);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_APICLIENT_REPLY_H
