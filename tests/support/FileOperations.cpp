#include "support/FileOperations.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <algorithm>

#include "support/TracedProcess.h"

namespace KelpTest {

namespace {

using Kind = FileOperation::Kind;

// Which of a call's arguments are what. Not every architecture has every call.
struct Recorded {
  long call;
  Kind kind;
  int fd;
  int path;
  int newPath;
  int flags;
};

constexpr int kNone = -1;
const Recorded kRecorded[] = {
    {SYS_openat, Kind::Open, kNone, 1, kNone, 2},
    {SYS_write, Kind::Write, 0, kNone, kNone, kNone},
    {SYS_close, Kind::Close, 0, kNone, kNone, kNone},
    {SYS_sync, Kind::Sync, kNone, kNone, kNone, kNone},
    {SYS_syncfs, Kind::Sync, kNone, kNone, kNone, kNone},
    {SYS_fsync, Kind::SyncFile, 0, kNone, kNone, kNone},
    {SYS_fdatasync, Kind::SyncFile, 0, kNone, kNone, kNone},
    {SYS_renameat2, Kind::Rename, kNone, 1, 3, kNone},
    {SYS_fchmodat, Kind::ChangeMode, kNone, 1, kNone, kNone},
    {SYS_unlinkat, Kind::Remove, kNone, 1, kNone, kNone},
    {SYS_mkdirat, Kind::MakeDirectory, kNone, 1, kNone, kNone},
#ifdef SYS_open
    {SYS_open, Kind::Open, kNone, 0, kNone, 1},
#endif
#ifdef SYS_renameat
    {SYS_renameat, Kind::Rename, kNone, 1, 3, kNone},
#endif
#ifdef SYS_rename
    {SYS_rename, Kind::Rename, kNone, 0, 1, kNone},
#endif
#ifdef SYS_chmod
    {SYS_chmod, Kind::ChangeMode, kNone, 0, kNone, kNone},
#endif
#ifdef SYS_unlink
    {SYS_unlink, Kind::Remove, kNone, 0, kNone, kNone},
#endif
#ifdef SYS_mkdir
    {SYS_mkdir, Kind::MakeDirectory, kNone, 0, kNone, kNone},
#endif
};

const long kNotRecorded[] = {
    SYS_pwrite64, SYS_writev,    SYS_pwritev, SYS_ftruncate, SYS_truncate, SYS_fallocate,
    SYS_linkat,   SYS_symlinkat, SYS_mknodat, SYS_sendfile,  SYS_splice,   SYS_copy_file_range,
    SYS_msync,    SYS_dup,       SYS_dup3,    SYS_execveat,  SYS_execve,   SYS_lseek,
#ifdef SYS_creat
    SYS_creat,    SYS_link,      SYS_symlink, SYS_mknod,     SYS_rmdir,    SYS_dup2,
#endif
};

const Recorded* findRecorded(long call) {
  const auto* const end = std::end(kRecorded);
  const auto* const found = std::find_if(std::begin(kRecorded), end, [&](const Recorded& r) { return r.call == call; });
  return found == end ? nullptr : found;
}

FileOperation atEntry(const TracedProcess& process, const Recorded& recorded) {
  FileOperation operation = {recorded.kind, -1, 0, "", "", ""};
  if (recorded.fd != kNone) {
    operation.fd = static_cast<int>(process.argument(recorded.fd));
  }
  if (recorded.flags != kNone) {
    operation.flags = static_cast<int>(process.argument(recorded.flags));
  }
  if (recorded.path != kNone) {
    operation.path = process.readText(process.argument(recorded.path));
  }
  if (recorded.newPath != kNone) {
    operation.newPath = process.readText(process.argument(recorded.newPath));
  }
  if (recorded.kind == Kind::Write) {
    operation.data = process.readMemory(process.argument(1), static_cast<size_t>(process.argument(2)));
  }
  return operation;
}

void completeAtExit(const TracedProcess& process, FileOperation& operation) {
  if (operation.kind == Kind::Open) {
    operation.fd = static_cast<int>(process.result());
  } else if (operation.kind == Kind::Write) {
    operation.data.resize(static_cast<size_t>(process.result()));
  }
}

}  // namespace

std::vector<FileOperation> recordFileOperations(const std::function<int()>& body) {
  std::vector<FileOperation> operations;
  FileOperation operation = {};
  TracedProcess process(body);
  while (process.runToNextStop()) {
    const Recorded* const recorded = findRecorded(process.call());
    if (process.isEntry()) {
      EXPECT_EQ(std::end(kNotRecorded), std::find(std::begin(kNotRecorded), std::end(kNotRecorded), process.call()))
          << "system call " << process.call() << " is not recorded";
    }
    if (recorded == nullptr) {
      continue;
    }
    if (process.isEntry()) {
      operation = atEntry(process, *recorded);
    } else if (process.result() >= 0) {
      completeAtExit(process, operation);
      operations.push_back(operation);
    }
  }
  EXPECT_TRUE(process.hasSucceeded());
  return operations;
}

}  // namespace KelpTest
