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

 private:
  char takeCharacter();
  std::string takeName();
  std::string takeValue();

  const std::string m_body;
  std::size_t m_next = 0;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_QUERY_STRING_REFERENCE_H
