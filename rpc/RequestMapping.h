// How the parsers hold a request file: a private mapping that may be written to, so that they can decode in place.
#ifndef KELP_RPC_REQUEST_MAPPING_H
#define KELP_RPC_REQUEST_MAPPING_H

namespace Kelp {

class FileOperator;

// Which pages of the mapping the parser is going to write to.
enum class MappingUse {
  Front,  // so many at the front as the values take, which is not known before
  All,    // nearly all of them
};

// Opens the file, which is closed with its operator, and maps all of it. An empty file is mapped as nothing: `buffer`
// is null and `size` 0. Returns false, with `buffer` null, when the file cannot be opened or mapped or has 4 GiB or
// more, or 2 GiB or more where a long has 32 bits.
bool mapRequest(FileOperator& file, MappingUse use, char*& buffer, unsigned int& size);

// Gives back what mapRequest() mapped; `buffer` may be null.
void unmapRequest(char* buffer, unsigned int size);

}  // namespace Kelp

#endif  // KELP_RPC_REQUEST_MAPPING_H
