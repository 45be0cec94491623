// A member's text as a parser's getMember() hands it out, and what the getters make of it.
#ifndef KELP_RPC_MEMBER_TEXT_H
#define KELP_RPC_MEMBER_TEXT_H

#include <string>

#include "KelpReturnCode.h"
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

  // No such member, or no memory for its text.
  bool isMissing() const { return m_pText == nullptr; }
  bool hasText() const { return m_size != kNoMember && m_size > 0; }

  // REQUIRES, all three: hasText().
  int toDecimal() const;                 // 0 when it is no number, the nearest int when it is too large
  void toHexadecimal(int& value) const;  // leaves `value` when there is no digit
  const char* get() const { return m_pText; }

 private:
  char* m_pText;
  unsigned int m_size;
};

// The getters of numbers, for a parser that has parsed its request.

template <typename Parser>
CommonReturnCode_t decimalMember(const Parser& parser, const std::string& name, int& value) {
  const MemberText text(parser, name);
  if (!text.hasText()) {
    return CommonReturnCode_InvalidProtocol;
  }
  value = text.toDecimal();
  return CommonReturnCode_Ok;
}

template <typename Parser>
CommonReturnCode_t hexadecimalMember(const Parser& parser, const std::string& name, int& value) {
  const MemberText text(parser, name);
  if (!text.hasText()) {
    return CommonReturnCode_InvalidProtocol;
  }
  text.toHexadecimal(value);
  return CommonReturnCode_Ok;
}

// The getter of text of the parsers that tell an empty member from one that is missing.
template <typename Parser>
CommonReturnCode_t stringMember(const Parser& parser, const std::string& name, std::string& value) {
  const MemberText text(parser, name);
  if (text.isMissing()) {
    return CommonReturnCode_InvalidProtocol;
  }
  value = text.hasText() ? text.get() : "";
  return CommonReturnCode_Ok;
}

}  // namespace Kelp

#endif  // KELP_RPC_MEMBER_TEXT_H
