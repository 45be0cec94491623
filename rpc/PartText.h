// Finds and takes the pieces of a multipart body.
//
// The text is searched as the C library's string functions would do it, to the first NUL byte, but never beyond `end`:
// a body that fills its last page to the brim has no NUL behind it.
#ifndef KELP_RPC_PART_TEXT_H
#define KELP_RPC_PART_TEXT_H

#include <string>
#include <string_view>

namespace Kelp {

// The first `text`, which is not empty and holds no NUL, at or behind `from`; null when there is none.
char* findText(char* from, char* end, std::string_view text);

// Copies the data from `from` to the next boundary, without CR and LF, to `out`, which is anywhere before `from` in the
// same memory and moves to the end of the copy. Returns where the boundary starts; null, with an unfinished copy, when
// there is none.
char* packPart(char* from, char* end, const std::string& boundary, char*& out);

}  // namespace Kelp

#endif  // KELP_RPC_PART_TEXT_H
