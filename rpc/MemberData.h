// What the getters of binary data do with a member's Base64 text.
#ifndef KELP_RPC_MEMBER_DATA_H
#define KELP_RPC_MEMBER_DATA_H

#include <string>

#include "KelpReturnCode.h"

namespace Kelp {

// Both decode the `size` characters at `text` in place. REQUIRES: memory up to the next multiple of 4 characters.
// "Invalid Protocol" (10) on a character that is no Base64.

// Into a block of `dataSize` bytes, which is released with SysFunc::kelpFree(); else "Not Enough Memory" (16).
CommonReturnCode_t decodeToMemory(char* text, unsigned int size, void*& data, unsigned int& dataSize);

// Into the file at `filePath`, as writeDataFile() does; no text at all only touches the file, as touchFile() does.
CommonReturnCode_t decodeToFile(char* text, unsigned int size, const std::string& filePath);

// Creates or overwrites the file. "I/O error" (15) when it cannot be opened, or not written whole, which leaves it
// empty.
CommonReturnCode_t writeDataFile(const void* data, unsigned int size, const std::string& filePath);

// Creates the file, or sets its time, through the shell.
CommonReturnCode_t touchFile(const std::string& filePath);

}  // namespace Kelp

#endif  // KELP_RPC_MEMBER_DATA_H
