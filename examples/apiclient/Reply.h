// The answer to the caller: a JSON text, made in a response file, and printed as a CGI program prints.
#ifndef KELP_EXAMPLES_APICLIENT_REPLY_H
#define KELP_EXAMPLES_APICLIENT_REPLY_H

#include <string>

#include "apiclient/Fault.h"
#include "common/Record.h"

namespace KelpExample {

// `answer`: the core's, empty when there is none. `responseFilePath`: where the JSON text is made; the file is gone
// when the function returns. Returns false when standard output does not take the reply.
bool printReply(const Fault& fault, const Record& answer, const std::string& responseFilePath);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_APICLIENT_REPLY_H
