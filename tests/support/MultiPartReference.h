// A second opinion on multipart forms: the steps one by one, with the C library's string functions, in memory that a
// NUL ends.
#ifndef KELP_TESTS_SUPPORT_MULTI_PART_REFERENCE_H
#define KELP_TESTS_SUPPORT_MULTI_PART_REFERENCE_H

#include <cstddef>
#include <string>
#include <vector>

#include "support/Base64Reference.h"
#include "support/ParsedRequest.h"

namespace KelpTest {

class MultiPartReference {
 public:
  explicit MultiPartReference(const std::string& body);

  State state() const { return m_state; }
  const std::vector<RequestMember>& members() const { return m_members; }

  // What getBinaryData() makes of a member's text: it is decoded in place here too. The last group of a text may take
  // bytes from behind the member.
  Decoding decode(const RequestMember& member);

 private:
  char* end() { return m_memory.data() + m_size; }
  char* cutLine(char* from);
  State run();
  char* takePart(char* cursor, const char* boundary);

  const std::string m_body;  // as it came
  std::vector<char> m_memory;
  std::size_t m_size;
  std::size_t m_offset = 0;
  std::vector<RequestMember> m_members;
  State m_state;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_MULTI_PART_REFERENCE_H
