#include "fuzz/support/Check.h"

#include <stdio.h>
#include <stdlib.h>

namespace KelpFuzz {

void fail(const std::string& what, const char* file, int line) {
  fprintf(stderr, "%s:%d: %s\n", file, line, what.c_str());
  abort();
}

std::string shown(const std::string& text) {
  std::string result = "\"";
  for (const char character : text) {
    if (character >= ' ' && character <= '~' && character != '"' && character != '\\') {
      result += character;
      continue;
    }
    char escape[8];
    snprintf(escape, sizeof(escape), "\\%03o", static_cast<unsigned int>(static_cast<unsigned char>(character)));
    result += escape;
  }
  return result + "\" (" + std::to_string(text.size()) + " bytes)";
}

}  // namespace KelpFuzz
