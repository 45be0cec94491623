// The platform as the fuzz targets know it: a file system in memory, no shell, log lines that are put together and
// dropped, disks that need no syncing.
#ifndef KELP_FUZZ_PLATFORM_H
#define KELP_FUZZ_PLATFORM_H

#include <stddef.h>

#include <functional>
#include <string>
#include <vector>

namespace KelpFuzz {

// A path in a directory that is in memory, and this process's own. It is the same for every process.
std::string pathOf(const std::string& name);

// A file that keeps its place and descriptor from one input to the next. To be built before the first Residue.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& name);

  void write(const std::string& content);
  const std::string& path() const { return m_path; }

 private:
  const std::string m_path;
  const int m_fd;
};

bool isThere(const std::string& path);
void writeFile(const std::string& path, const std::string& content);
std::string readFile(const std::string& path);  // FUZZ_CHECKs that it can be read
void removeFile(const std::string& path);       // which may be missing

// What the code under test must not leave behind: compares descriptors and mapped files at its two ends.
class Residue {
 public:
  Residue();
  ~Residue();
  Residue(const Residue&) = delete;
  Residue& operator=(const Residue&) = delete;

 private:
  const int m_nextFreeFd;
};

// How many files the library has mapped.
size_t mappedFileCount();

// With AddressSanitizer, the memory behind a mapped file, to the end of its last page, cannot be touched. The parsers'
// getters may: they decode Base64 in groups of four characters, the last one of which may lie on the file's end.
void allowWholeGroupsOfMappedFiles();

// Runs `task`. Returns the expression of the assertion that ended it, or "" when none did. What `task` was in the
// middle of is not cleaned up then. `task` may call this again. Outside of this an assertion ends the process, as it is
// meant to.
std::string assertionOf(const std::function<void()>& task);

// What the library logs while this lives: each line without what stands before its message. One at a time.
class LogLines {
 public:
  LogLines();
  ~LogLines();
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;

  // Those since the last call.
  std::vector<std::string> take();
};

}  // namespace KelpFuzz

#endif  // KELP_FUZZ_PLATFORM_H
