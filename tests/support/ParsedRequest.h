// What a request has been parsed to: the form in which the tests' own parsers give it, and what tells a parser's state.
#ifndef KELP_TESTS_SUPPORT_PARSED_REQUEST_H
#define KELP_TESTS_SUPPORT_PARSED_REQUEST_H

#include <string.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "RpcParser.h"

namespace KelpTest {

struct RequestMember {
  std::string name;
  std::size_t offset;  // of the value, among all values
  std::string value;
};

// The one that answers for its name. REQUIRES: there is one.
inline const RequestMember& firstNamed(const std::vector<RequestMember>& members, const std::string& name) {
  return *std::find_if(members.begin(), members.end(),
                       [&](const RequestMember& member) { return member.name == name; });
}

// What a parser has come to. Its getters alone cannot tell a request without members from a bad one.
enum State { Init = 0, Done = 1, Error = 2 };

// The state is the parser's first field.
template <typename Parser>
State stateOf(const Parser& parser) {
  int state = -1;
  memcpy(&state, reinterpret_cast<const char*>(&parser) + sizeof(Kelp::RpcParser), sizeof(state));
  return static_cast<State>(state);
}

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_PARSED_REQUEST_H
