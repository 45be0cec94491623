// A second opinion on query strings: the grammar step by step, with the C library's scanner.
#ifndef KELP_TESTS_SUPPORT_QUERY_STRING_REFERENCE_H
#define KELP_TESTS_SUPPORT_QUERY_STRING_REFERENCE_H

#include <cstddef>
#include <string>
#include <vector>

#include "support/ParsedRequest.h"

namespace KelpTest {

class QueryStringReference {
 public:
  explicit QueryStringReference(std::string body);

  // Parses the body: to be called once.
  std::vector<RequestMember> members();

  // Decodes the body without regard to members. REQUIRES: there is a character left.
  char takeCharacter();
  std::size_t left() const { return m_body.size() - m_next; }

 private:
  std::string takeName();
  std::string takeValue();

  const std::string m_body;
  std::size_t m_next = 0;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_QUERY_STRING_REFERENCE_H
