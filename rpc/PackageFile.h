// A package that a request names by its path.
#ifndef KELP_RPC_PACKAGE_FILE_H
#define KELP_RPC_PACKAGE_FILE_H

#include <string>

#include "KelpReturnCode.h"

namespace Kelp {

// Decodes the Base64 text in the file at `source`, without CR, LF and blanks, into the file at `destination`. An empty
// source only touches the destination, as touchFile() does. "I/O error" (15) when the source is missing or cannot be
// read, or the destination not written; "Not Enough Memory" (16); "Invalid Protocol" (10), and nothing else
// is that, when the text is no Base64. Logs nothing itself.
CommonReturnCode_t decodePackage(const std::string& source, const std::string& destination);

}  // namespace Kelp

#endif  // KELP_RPC_PACKAGE_FILE_H
