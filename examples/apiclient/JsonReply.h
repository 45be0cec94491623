// The answer as a JSON object, by way of a ResponseEncoder on a JsonSerializer.
#ifndef KELP_EXAMPLES_APICLIENT_JSON_REPLY_H
#define KELP_EXAMPLES_APICLIENT_JSON_REPLY_H

#include <string>

#include "apiclient/Fault.h"
#include "common/Record.h"

namespace KelpExample {

// Writes the fault, if it is set, or else the answer, into the file.
void writeJsonReply(const Fault& fault, const Record& answer, const std::string& filePath);

// The fault when not even a file can be written.
std::string plainJsonReply(const Fault& fault);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_APICLIENT_JSON_REPLY_H
