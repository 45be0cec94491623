// What a piece of code does to files, recorded from its system calls.
#ifndef KELP_TESTS_SUPPORT_FILE_OPERATIONS_H
#define KELP_TESTS_SUPPORT_FILE_OPERATIONS_H

#include <functional>
#include <string>
#include <vector>

namespace KelpTest {

// One system call that succeeded.
struct FileOperation {
  enum class Kind { Open, Write, Close, Sync, SyncFile, Rename, ChangeMode, Remove, MakeDirectory };

  Kind kind;
  int fd;               // of Open, Write, Close and SyncFile
  int flags;            // of Open
  std::string path;     // of Open, Rename, ChangeMode, Remove and MakeDirectory
  std::string newPath;  // of Rename
  std::string data;     // of Write: what has been written, which follows what was written before
};

// Runs `body` in a child process and returns what it did, in order. The test fails where it returns anything but 0, and
// where it makes a call that changes files in a way that cannot be recorded. Needs isTracingPermitted().
std::vector<FileOperation> recordFileOperations(const std::function<int()>& body);

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_FILE_OPERATIONS_H
