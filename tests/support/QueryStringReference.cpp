#include "support/QueryStringReference.h"

#include <stdio.h>

#include <utility>

namespace KelpTest {

namespace {

char scanned(const char* digits) {
  unsigned int value = 0;
  sscanf(digits, "%02X", &value);
  return static_cast<char>(value);
}

}  // namespace

QueryStringReference::QueryStringReference(std::string body) : m_body(std::move(body)) {}

std::vector<RequestMember> QueryStringReference::members() {
  std::vector<RequestMember> members;
  std::size_t offset = 0;
  while (m_next < m_body.size()) {
    const std::string name = takeName();
    const std::string value = takeValue();
    members.push_back({name, offset, value});
    offset += value.size();
  }
  return members;
}

char QueryStringReference::takeCharacter() {
  const char character = m_body[m_next++];
  if (character == '%') {
    const std::string pair = m_body.substr(m_next, 2);
    m_next += pair.size();
    return scanned(pair.c_str());
  }
  return character == '+' ? ' ' : character;
}

std::string QueryStringReference::takeName() {
  std::string name;
  while (m_next < m_body.size()) {
    const char character = takeCharacter();
    if (character == '=') {
      break;
    }
    name += character;
  }
  return name;
}

std::string QueryStringReference::takeValue() {
  std::string value;
  while (m_next < m_body.size()) {
    const char raw = m_body[m_next];
    if (raw == '&') {
      ++m_next;
      break;
    }
    if (raw == '\r' || raw == '\n') {
      ++m_next;
      continue;
    }
    value += takeCharacter();
  }
  return value;
}

}  // namespace KelpTest
