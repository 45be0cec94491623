#include "support/MultiPartReference.h"

#include <string.h>

#include <algorithm>

namespace KelpTest {

namespace {

constexpr std::size_t kNulsBehind = 300;  // more than any step looks ahead
constexpr std::size_t kLongestBoundary = 127;
constexpr char kDisposition[] = "Content-Disposition: form-data; name=";

}  // namespace

MultiPartReference::MultiPartReference(const std::string& body)
    : m_body(body), m_memory(body.begin(), body.end()), m_size(body.size()) {
  m_memory.resize(body.size() + kNulsBehind, '\0');
  m_state = run();
}

Decoding MultiPartReference::decode(const RequestMember& member) {
  const std::size_t whole = (member.value.size() + 3) / 4 * 4;
  char* const text = m_memory.data() + member.offset;
  Decoding decoding = decodedCharByChar({text, whole}, member.value.size(), whole, true);
  std::copy(decoding.text.begin(), decoding.text.end(), text);
  return decoding;
}

char* MultiPartReference::cutLine(char* from) {
  while (from != end() && *from != '\r' && *from != '\n') {
    ++from;
  }
  if (from == end()) {
    return nullptr;
  }
  const bool isPair = (from[0] == '\r' && from[1] == '\n') || (from[0] == '\n' && from[1] == '\r');
  *from++ = '\0';
  if (isPair) {
    *from++ = '\0';
  }
  return from;
}

State MultiPartReference::run() {
  if (strncmp(m_memory.data(), "--", 2) != 0) {
    return State::Error;
  }
  char* cursor = cutLine(m_memory.data());
  if (cursor == nullptr || m_body.find_first_of("\r\n") > kLongestBoundary) {
    return State::Error;
  }
  char boundary[kLongestBoundary + 1];
  strcpy(boundary, m_memory.data());
  if (cursor >= end()) {
    return State::Done;
  }
  while (cursor[strlen(boundary)] != '-') {
    cursor = takePart(cursor, boundary);
    if (cursor == nullptr) {
      return State::Error;
    }
    cursor = strstr(cursor, "--");
    if (cursor == nullptr) {
      return State::Error;
    }
    if (strstr(cursor, boundary) == nullptr || cursor >= end()) {
      return State::Done;
    }
  }
  return State::Done;
}

char* MultiPartReference::takePart(char* cursor, const char* boundary) {
  char* const disposition = strstr(cursor, kDisposition);
  char* const quote = disposition == nullptr ? nullptr : strchr(disposition + strlen(kDisposition) + 1, '"');
  if (quote == nullptr) {
    return nullptr;
  }
  *quote = '\0';
  const std::string name = disposition + strlen(kDisposition) + 1;
  char* line = cutLine(quote + 1);
  while (line != nullptr && *line != '\r' && *line != '\n') {
    line = cutLine(line);
  }
  char* const data = line == nullptr ? nullptr : cutLine(line);
  char* const next = data == nullptr ? nullptr : strstr(data, boundary);
  if (next == nullptr) {
    return nullptr;
  }
  const std::size_t offset = m_offset;
  for (char* byte = data; byte != next; ++byte) {
    if (*byte != '\r' && *byte != '\n') {
      m_memory[m_offset++] = *byte;
    }
  }
  m_members.push_back({name, offset, std::string(m_memory.data() + offset, m_offset - offset)});
  return next;
}

}  // namespace KelpTest
