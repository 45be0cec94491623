// What the library does with a file that it could not write whole.
#ifndef KELP_RPC_OUTPUT_FILE_H
#define KELP_RPC_OUTPUT_FILE_H

#include <string>

namespace Kelp {

// Empties the file, so that nobody takes a part of its contents for all of them. Says nothing when that fails too.
void emptyFile(const std::string& path);

}  // namespace Kelp

#endif  // KELP_RPC_OUTPUT_FILE_H
