// Finding a member in a parser's table and copying it out. Each parser has its own record type, of the same fields.
#ifndef KELP_RPC_MEMBER_LOOKUP_H
#define KELP_RPC_MEMBER_LOOKUP_H

#include <string>
#include <vector>

namespace Kelp {

// What a parser's getMember() returns when no member has the name.
constexpr unsigned int kNoMember = 0xFFFFFFFF;

// The size of the first member of that name, whose place goes to `offset`; `missing`, with `offset` untouched, when
// there is none.
template <typename Member>
unsigned int findMember(const std::vector<Member>& table, const std::string& name, long& offset, unsigned int missing) {
  for (const Member& member : table) {
    if (member.name == name) {
      offset = member.offset;
      return member.size;
    }
  }
  return missing;
}

// A NUL-terminated copy of `size` bytes, which is released with SysFunc::kelpFree(). Returns `size`; or 0, with `copy`
// null, when memory is out.
unsigned int copyMember(const char* value, unsigned int size, char*& copy);

}  // namespace Kelp

#endif  // KELP_RPC_MEMBER_LOOKUP_H
