// The answer as a binary record, by way of a ResponseEncoderForBinary on a BinarySerializer: each method has its own.
//
// The list of applications has for each of them
//   the first two words   install id, function id
//   the text              version of the preferences
//   the four words        status (0 stopped, 1 starting, 2 running, 3 stopping), reports so far, 0, 0
//   the pairs             (exec id, process id), while it runs
//   the slots             (0, name), and while it runs (1, text of the last report)
#ifndef KELP_EXAMPLES_APICLIENT_BINARY_REPLY_H
#define KELP_EXAMPLES_APICLIENT_BINARY_REPLY_H

#include <string>

#include "apiclient/Fault.h"
#include "common/Record.h"

namespace KelpExample {

// Writes the fault's code, if it is set, or else the record that answers the method, into the file.
void writeBinaryReply(const std::string& methodName, const Fault& fault, const Record& answer,
                      const std::string& filePath);

// The fault when not even a file can be written.
std::string plainBinaryReply(const Fault& fault);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_APICLIENT_BINARY_REPLY_H
