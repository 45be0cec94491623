#include "rpc/OutputFile.h"

#include <stdio.h>

namespace Kelp {

void emptyFile(const std::string& path) {
  FILE* const file = fopen(path.c_str(), "we");
  if (file != nullptr) {
    fclose(file);
  }
}

}  // namespace Kelp
