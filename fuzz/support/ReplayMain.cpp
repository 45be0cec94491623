// Runs a fuzz target on kept inputs, without a fuzzer: in every build, on every processor, as a test.
//   TARGET-replay PATH...     PATH is an input; a directory of them; or a corpus.base64, which holds one to a line
#include <dirent.h>
#include <signal.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/Base64Reference.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// The sanitizers', where there are any.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

namespace {

struct KeptInput {
  std::string name;
  std::string bytes;
};

const std::string* s_name = nullptr;  // of the input that runs

void nameInput() {
  if (s_name != nullptr) {
    const std::string line = "while replaying " + *s_name + "\n";
    const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
    static_cast<void>(written);
  }
}

void nameInputAtSignal(int /*signal*/) {
  nameInput();
}

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string decoded(const std::string& line) {
  return KelpTest::decodedCharByChar(line, line.size(), line.size(), false).data;
}

void readPacked(const std::string& path, std::vector<KeptInput>& inputs) {
  std::ifstream file(path);
  int number = 0;
  for (std::string line; std::getline(file, line);) {
    inputs.push_back({path + ":" + std::to_string(++number), decoded(line)});
  }
}

void readInputs(const std::string& path, std::vector<KeptInput>& inputs) {
  if (DIR* const directory = opendir(path.c_str())) {
    while (const dirent* const entry = readdir(directory)) {
      if (entry->d_name[0] != '.') {
        readInputs(path + "/" + entry->d_name, inputs);
      }
    }
    closedir(directory);
  } else if (endsWith(path, ".base64")) {
    readPacked(path, inputs);
  } else {
    std::ifstream file(path, std::ios::binary);
    inputs.push_back({path, std::string(std::istreambuf_iterator<char>(file), {})});
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<KeptInput> inputs;
  for (int i = 1; i < argc; ++i) {
    if (access(argv[i], R_OK) != 0) {
      perror(argv[i]);
      return 1;
    }
    readInputs(argv[i], inputs);
  }
  if (inputs.empty()) {
    fprintf(stderr, "nothing to replay\n");
    return 1;
  }
  LLVMFuzzerInitialize(&argc, &argv);
  signal(SIGABRT, nameInputAtSignal);
  if (__sanitizer_set_death_callback != nullptr) {
    __sanitizer_set_death_callback(nameInput);
  }
  for (const KeptInput& input : inputs) {
    s_name = &input.name;
    const std::vector<uint8_t> bytes(input.bytes.begin(), input.bytes.end());  // ends where it may at the earliest
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  }
  s_name = nullptr;
  printf("%zu inputs replayed\n", inputs.size());
  return 0;
}
