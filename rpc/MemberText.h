// A member's text as a parser's getMember() hands it out, and what the getters make of it.
#ifndef KELP_RPC_MEMBER_TEXT_H
#define KELP_RPC_MEMBER_TEXT_H

#include <string>

#include "rpc/MemberLookup.h"

namespace Kelp {

class MemberText {
 public:
  // REQUIRES: `parser` has parsed its request.
  template <typename Parser>
  MemberText(const Parser& parser, const std::string& name)
      : m_pText(nullptr), m_size(parser.getMember(name, m_pText)) {}
  ~MemberText();  // frees the text
  MemberText(const MemberText&) = delete;
  MemberText& operator=(const MemberText&) = delete;

  bool isMissing() const { return m_size == kNoMember; }
  bool hasText() const { return m_size != kNoMember && m_size > 0; }

  // REQUIRES, all three: hasText().
  int toDecimal() const;                 // 0 when it is no number, the nearest int when it is too large
  void toHexadecimal(int& value) const;  // leaves `value` when there is no digit
  const char* get() const { return m_pText; }

 private:
  char* m_pText;
  unsigned int m_size;
};

}  // namespace Kelp

#endif  // KELP_RPC_MEMBER_TEXT_H
