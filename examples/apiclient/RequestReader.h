// Turns a request's body into the record that the core is sent. To add a method: a line in the table of methods, which
// names its arguments.
#ifndef KELP_EXAMPLES_APICLIENT_REQUEST_READER_H
#define KELP_EXAMPLES_APICLIENT_REQUEST_READER_H

#include <string>

#include "apiclient/Fault.h"
#include "common/Record.h"

namespace KelpExample {

// `requestFilePath`: where the body is put for the parser; the file is gone when the function returns.
Fault readRequest(const std::string& body, const std::string& requestFilePath, Record& request);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_APICLIENT_REQUEST_READER_H
