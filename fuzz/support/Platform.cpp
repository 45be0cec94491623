#include "fuzz/support/Platform.h"

#include <errno.h>
#include <fcntl.h>
#include <sanitizer/asan_interface.h>
#include <sched.h>
#include <setjmp.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "PfLog.h"
#include "fuzz/support/Check.h"
#include "support/Descriptors.h"
#include "support/PrivateNamespace.h"

namespace KelpFuzz {

namespace {

constexpr char kInsideVariable[] = "KELP_FUZZ_INSIDE";
constexpr char kDirectory[] = "/mnt/fuzz";
constexpr char kTouch[] = "/bin/busybox touch ";
constexpr int kFailedCommand = 1 << 8;  // exit status 1, as system() gives it
constexpr size_t kGroup = 4;            // characters of Base64
constexpr size_t kLongestLine = 1024;
constexpr int kWordsBeforeMessage = 4;

struct MappedFile {
  char* start;
  size_t size;
};

std::vector<MappedFile>& mappedFiles() {
  static auto* files = new std::vector<MappedFile>;
  return *files;
}

jmp_buf* s_pAssertionTarget = nullptr;  // null: none is awaited
const char* s_assertion = "";

std::vector<std::string> s_logLines;
bool s_isLogKept = false;

// Process, thread, file, line and function stand before it.
std::string messageOf(const char* line) {
  for (int words = 0; words < kWordsBeforeMessage; ++words) {
    line = strchr(line, ' ') + 1;
  }
  return line;
}

size_t roundedUp(size_t size, size_t unit) {
  return (size + unit - 1) / unit * unit;
}

size_t pagesOf(size_t size) {
  return roundedUp(size, static_cast<size_t>(sysconf(_SC_PAGESIZE)));
}

// What system() would give.
int touch(const char* path) {
  const int fd = open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  if (fd == -1) {
    return kFailedCommand;
  }
  const int result = futimens(fd, nullptr);
  close(fd);
  return result == 0 ? 0 : kFailedCommand;
}

}  // namespace

std::string pathOf(const std::string& name) {
  return kDirectory + ("/" + name);
}

MemoryFile::MemoryFile(const std::string& name)
    : m_path(pathOf(name)), m_fd(open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
  FUZZ_CHECK(m_fd != -1);
}

void MemoryFile::write(const std::string& content) {
  const auto size = static_cast<ssize_t>(content.size());
  FUZZ_CHECK(pwrite(m_fd, content.data(), content.size(), 0) == size && ftruncate(m_fd, size) == 0);
}

bool isThere(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

void writeFile(const std::string& path, const std::string& content) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  FUZZ_CHECK(fd != -1);
  FUZZ_CHECK(write(fd, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
  close(fd);
}

std::string readFile(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  FUZZ_CHECK(fd != -1);
  std::string content;
  char block[4096];
  for (ssize_t count = 0; (count = read(fd, block, sizeof(block))) > 0;) {
    content.append(block, static_cast<size_t>(count));
  }
  close(fd);
  return content;
}

void removeFile(const std::string& path) {
  unlink(path.c_str());
}

Residue::Residue() : m_nextFreeFd(KelpTest::nextFreeFd()) {
  FUZZ_CHECK(mappedFiles().empty());
}

Residue::~Residue() {
  FUZZ_CHECK_EQ(KelpTest::nextFreeFd(), m_nextFreeFd);
  FUZZ_CHECK(mappedFiles().empty());
}

size_t mappedFileCount() {
  return mappedFiles().size();
}

void allowWholeGroupsOfMappedFiles() {
  for (const MappedFile& file : mappedFiles()) {
    ASAN_UNPOISON_MEMORY_REGION(file.start, roundedUp(file.size, kGroup));
  }
}

std::string assertionOf(const std::function<void()>& task) {
  jmp_buf target;
  jmp_buf* const outerTarget = s_pAssertionTarget;
  s_assertion = "";
  s_pAssertionTarget = &target;
  if (setjmp(target) == 0) {
    task();
    s_assertion = "";  // of a call inside
  }
  s_pAssertionTarget = outerTarget;
  return s_assertion;
}

LogLines::LogLines() {
  s_isLogKept = true;
}

LogLines::~LogLines() {
  s_isLogKept = false;
  s_logLines.clear();
}

std::vector<std::string> LogLines::take() {
  return std::exchange(s_logLines, {});
}

}  // namespace KelpFuzz

using KelpFuzz::MappedFile;
using KelpFuzz::mappedFiles;

// A fuzzer that merges or minimises runs itself again, in the namespace that it is in: the two share /tmp, where their
// own files lie, but not the targets' directory.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** argv) {
  if (getenv(KelpFuzz::kInsideVariable) == nullptr) {
    KelpTest::enterPrivateNamespace(*argv);
    setenv(KelpFuzz::kInsideVariable, "1", 1);
  } else {
    FUZZ_CHECK(unshare(CLONE_NEWNS) == 0);
    FUZZ_CHECK(mount("tmpfs", "/mnt", "tmpfs", 0, nullptr) == 0);
  }
  FUZZ_CHECK(mkdir(KelpFuzz::kDirectory, 0700) == 0);
  return 0;
}

// Formatted all the same: the arguments are part of what is tested.
extern "C" int PfLogPrintf(unsigned int /*level*/, const char* format, ...) {
  char line[KelpFuzz::kLongestLine];
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  if (KelpFuzz::s_isLogKept) {
    KelpFuzz::s_logLines.push_back(KelpFuzz::messageOf(line));
  }
  return length;
}

// From here on the names are those of the C library, the compiler and the linker.

// What was freed is kept apart for less long than is usual: the next inputs need the memory, and clearing new memory
// took as much time as all the rest.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "quarantine_size_mb=16:malloc_context_size=8";
}

extern "C" void __assert_fail(const char* expression, const char* file, unsigned int line,
                              const char* function) noexcept {
  if (KelpFuzz::s_pAssertionTarget != nullptr) {
    KelpFuzz::s_assertion = expression;
    longjmp(*KelpFuzz::s_pAssertionTarget, 1);
  }
  fprintf(stderr, "%s:%u: %s: Assertion `%s' failed.\n", file, line, function, expression);
  abort();
}

// A shell for each file that is created would leave time for nothing else.
extern "C" int __real_system(const char* command);
extern "C" int __wrap_system(const char* command);
extern "C" int __wrap_system(const char* command) {
  const bool isTouch = command != nullptr && strncmp(command, KelpFuzz::kTouch, sizeof(KelpFuzz::kTouch) - 1) == 0;
  return isTouch ? KelpFuzz::touch(command + sizeof(KelpFuzz::kTouch) - 1) : __real_system(command);
}

extern "C" void __wrap_sync();
extern "C" void __wrap_sync() {}

extern "C" void* __real_mmap64(void* address, size_t size, int protection, int flags, int fd, off_t offset);
extern "C" void* __wrap_mmap64(void* address, size_t size, int protection, int flags, int fd, off_t offset);
extern "C" void* __wrap_mmap64(void* address, size_t size, int protection, int flags, int fd, off_t offset) {
  void* const start = __real_mmap64(address, size, protection, flags, fd, offset);
  if (start != MAP_FAILED && fd != -1) {
    mappedFiles().push_back({static_cast<char*>(start), size});
    ASAN_POISON_MEMORY_REGION(static_cast<char*>(start) + size, KelpFuzz::pagesOf(size) - size);
  }
  return start;
}

extern "C" int __real_munmap(void* start, size_t size);
extern "C" int __wrap_munmap(void* start, size_t size);
extern "C" int __wrap_munmap(void* start, size_t size) {
  std::vector<MappedFile>& files = mappedFiles();
  const auto file =
      std::find_if(files.begin(), files.end(), [start](const MappedFile& each) { return each.start == start; });
  if (file != files.end()) {
    FUZZ_CHECK_EQ(size, file->size);
    ASAN_UNPOISON_MEMORY_REGION(start, KelpFuzz::pagesOf(size));
    files.erase(file);
  }
  return __real_munmap(start, size);
}
