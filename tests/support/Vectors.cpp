#include "support/Vectors.h"

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <fstream>

namespace KelpTest {

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

// The lines below the name, without comments, up to the next name or the end.
std::string descriptionOf(const std::string& file, const std::string& name) {
  std::ifstream input(KELP_SOURCE_DIR "/tests/vectors/" + file);
  std::string line;
  while (std::getline(input, line) && line != name + ":") {
  }
  std::string description;
  while (std::getline(input, line) && (line.empty() || line.back() != ':')) {
    description += line.substr(0, line.find('#')) + '\n';
  }
  return description;
}

class Description {
 public:
  explicit Description(const std::string& text) : m_text(text), m_position(0) {}

  // What stands before the end or a closing parenthesis.
  std::string bytes() {
    std::string result;
    for (skipBlanks(); m_position < m_text.size() && m_text[m_position] != ')'; skipBlanks()) {
      result += item();
    }
    return result;
  }

 private:
  void skipBlanks() { takeAnyOf(" \n"); }

  std::string takeAnyOf(const char* characters) {
    const size_t start = m_position;
    m_position = std::min(m_text.find_first_not_of(characters, start), m_text.size());
    return m_text.substr(start, m_position - start);
  }

  bool take(char character) {
    const bool isNext = m_position < m_text.size() && m_text[m_position] == character;
    m_position += isNext ? 1 : 0;
    return isNext;
  }

  void require(bool isWellFormed) const {
    if (!isWellFormed) {
      fprintf(stderr, "A test vector cannot be read here: %s\n", m_text.substr(m_position).c_str());
      abort();
    }
  }

  std::string item() {
    if (take('"')) {
      const size_t end = m_text.find('"', m_position);
      require(end != std::string::npos);
      const std::string text = m_text.substr(m_position, end - m_position);
      m_position = end + 1;
      return text;
    }
    if (take('(')) {
      const std::string group = bytes();
      require(take(')'));
      return group;
    }
    const std::string digits = takeAnyOf(kDigits);
    if (take('*')) {
      return repeated(std::stoi(digits), item());
    }
    require(digits.size() == 2);
    return {static_cast<char>(std::stoi(digits, nullptr, 16))};
  }

  static std::string repeated(int count, const std::string& bytes) {
    std::string result;
    for (int i = 0; i < count; ++i) {
      result += bytes;
    }
    return result;
  }

  const std::string m_text;
  size_t m_position;
};

}  // namespace

std::string vectorOf(const std::string& file, const std::string& name) {
  const std::string bytes = Description(descriptionOf(file, name)).bytes();
  if (bytes.empty()) {
    fprintf(stderr, "tests/vectors/%s has no vector %s\n", file.c_str(), name.c_str());
    abort();
  }
  return bytes;
}

}  // namespace KelpTest
