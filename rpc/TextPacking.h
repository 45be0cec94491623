// Drops characters from text, in place.
#ifndef KELP_RPC_TEXT_PACKING_H
#define KELP_RPC_TEXT_PACKING_H

#include <string_view>

namespace Kelp {

// Copies [from, end) without the characters in `dropped`, which are ASCII, to `out`, which may be anywhere before
// `from`, or at it, in the same memory. Returns where the copy ends; what stands behind that is as it was.
char* packText(const char* from, const char* end, char* out, std::string_view dropped);

}  // namespace Kelp

#endif  // KELP_RPC_TEXT_PACKING_H
