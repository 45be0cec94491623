// A disk that loses its power, as a model: which files it may hold afterwards.
//
// It stands for all journalling file systems at once by allowing more than any of them: of what has not been synced,
// each single change may have reached the disk or not, whatever came before or after it. A name may be there without
// the file's data, the size without the data (zeros are read then), one block of the data without the next, a rename
// before the data of what is renamed. Each change by itself is whole: a name is made, replaced or removed, never
// half so.
#ifndef KELP_TESTS_SUPPORT_DISK_MODEL_H
#define KELP_TESTS_SUPPORT_DISK_MODEL_H

#include <stddef.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/FileOperations.h"

namespace KelpTest {

using Disk = std::map<std::string, std::string>;  // what each file holds, by path

class DiskModel {
 public:
  explicit DiskModel(const Disk& disk);  // all of it has been synced

  void apply(const FileOperation& operation);

  // All that the disk may hold if the power goes now.
  std::set<Disk> statesAfterPowerLoss() const;

 private:
  using FileId = size_t;

  // One change on the disk, which happens or does not.
  struct Change {
    enum class Kind { Name, Rename, NoName, Directory, Truncation, Size, Block, Mode };

    Kind kind;
    FileId file;
    std::string path;
    std::string newPath;
    size_t offset;  // of a Block; of a Size the size
    std::string data;
  };

  struct File {
    std::string bytes;
    size_t size = 0;
  };

  struct State {
    std::map<std::string, FileId> names;
    std::map<FileId, File> files;
    std::set<std::string> missingDirectories;
  };

  struct OpenFile {
    FileId file;
    size_t position;
    std::string directory;  // of an open directory its path
  };

  static constexpr size_t kBlockSize = 4096;
  static constexpr size_t kMaxPending = 12;

  void open(const FileOperation& operation);
  void write(const FileOperation& operation);
  void syncFile(const FileOperation& operation);
  void change(const Change& change);
  static void applyTo(State& state, const Change& change);
  static Disk diskOf(const State& state);

  State m_synced;
  State m_current;
  std::vector<Change> m_pending;  // made and not synced
  std::map<int, OpenFile> m_openFiles;
  FileId m_nextFile;
};

// What a disk may hold after the power has gone before the first of the operations or behind any of them, and what it
// may hold when it goes after the last one.
std::set<Disk> statesDuring(const Disk& before, const std::vector<FileOperation>& operations);
std::set<Disk> statesAfter(const Disk& before, const std::vector<FileOperation>& operations);

// The contents of the file at `path` in these disks; "" stands for no file.
std::set<std::string> contentsOf(const std::string& path, const std::set<Disk>& disks);

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_DISK_MODEL_H
