// Turns a request's body into the record that the core is sent. To add a method: a line in the table of methods, which
// names its arguments.
#ifndef KELP_EXAMPLES_APICLIENT_REQUEST_READER_H
#define KELP_EXAMPLES_APICLIENT_REQUEST_READER_H

#include <string>

#include "apiclient/Fault.h"
#include "common/Record.h"
#include "common/RequestFile.h"

namespace KelpExample {

// `filePath`: the body, which stays as it is. A package is not put into the record: it stays in the file, and the
// record says in which form that is written. What has been read by then is in the record also after a fault.
Fault readRequest(RequestForm form, const std::string& filePath, Record& request);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_APICLIENT_REQUEST_READER_H
