// Loads libkelp.so and tells who allocated meanwhile: nobody may but the loader itself, for what it notes of the
// library. That takes a program that has json-c and the libraries of the compiler already, and an allocator that
// remembers its callers.
//   LoadProgram LIBRARY
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include <cstddef>

// glibc's own, behind the functions that are replaced below.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* block, std::size_t size);

namespace {

constexpr int kMaxCallers = 1000;

bool s_isLoading = false;
const void* s_callers[kMaxCallers];
int s_callerCount = 0;

void remember(const void* caller) {
  if (s_isLoading && s_callerCount < kMaxCallers) {
    s_callers[s_callerCount++] = caller;
  }
}

const char* moduleOf(const void* address) {
  Dl_info info;
  return dladdr(address, &info) != 0 ? info.dli_fname : "?";
}

bool isLoader(const char* module) {
  return strstr(module, "/ld-linux") != nullptr;
}

// How many blocks others than the loader asked for.
int countOthers() {
  int others = 0;
  for (int i = 0; i < s_callerCount; ++i) {
    const char* const module = moduleOf(s_callers[i]);
    if (!isLoader(module)) {
      printf("FAILED: %s allocates when the library is loaded\n", module);
      others++;
    }
  }
  return others;
}

}  // namespace

extern "C" void* malloc(std::size_t size) {
  remember(__builtin_return_address(0));
  return __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) {
  remember(__builtin_return_address(0));
  return __libc_calloc(count, size);
}

extern "C" void* realloc(void* block, std::size_t size) {
  remember(__builtin_return_address(0));
  return __libc_realloc(block, size);
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: LoadProgram LIBRARY\n");
    return 2;
  }
  s_isLoading = true;
  void* const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  s_isLoading = false;
  if (library == nullptr) {
    printf("FAILED: %s\n", dlerror());
    return 1;
  }
  if (s_callerCount == 0 || s_callerCount == kMaxCallers) {
    printf("FAILED: %d blocks seen: this check checks nothing\n", s_callerCount);
    return 1;
  }
  return countOthers() == 0 ? 0 : 1;
}
