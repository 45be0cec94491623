// Reads URL-encoded text: names into strings, values in place.
#ifndef KELP_RPC_QUERY_STRING_DECODING_H
#define KELP_RPC_QUERY_STRING_DECODING_H

#include <string>

namespace Kelp {

// Decodes the character at `cursor` and passes it. An escape's two characters give what sscanf's "%02X" makes of them;
// NUL stands for one that the input lacks. REQUIRES: cursor != end.
char decodeCharacter(const char*& cursor, const char* end);

// Passes a name, which goes to `name`, and the '=' behind it. REQUIRES: cursor != end.
void decodeName(const char*& cursor, const char* end, std::string& name);

// Passes a value and the '&' behind it, and puts what it decodes to at `out`, which moves to the end of that. `out` may
// be anywhere before `cursor`, or at it, in the same memory.
void decodeValue(const char*& cursor, const char* end, char*& out);

}  // namespace Kelp

#endif  // KELP_RPC_QUERY_STRING_DECODING_H
