// Drops characters from text, in place.
#ifndef KELP_RPC_TEXT_PACKING_H
#define KELP_RPC_TEXT_PACKING_H

#include <string_view>

namespace Kelp {

// Copies [from, end) without the characters in `dropped`, two at least, to `out`, which may be anywhere before `from`,
// or at it, in the same memory. Returns where the copy ends; what stands behind that is as it was. Fastest where the
// first character is the one that ends most lines, and the second, if there is one in them, stands before it.
char* packText(const char* from, const char* end, char* out, std::string_view dropped);

}  // namespace Kelp

#endif  // KELP_RPC_TEXT_PACKING_H
