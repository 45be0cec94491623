#include "support/DiskModel.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace KelpTest {

namespace {

std::string directoryOf(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

}  // namespace

DiskModel::DiskModel(const Disk& disk) : m_nextFile(0) {
  for (const auto& [path, content] : disk) {
    m_synced.names[path] = m_nextFile;
    m_synced.files[m_nextFile++] = {content, content.size()};
  }
  m_current = m_synced;
}

void DiskModel::apply(const FileOperation& operation) {
  const auto named = m_current.names.find(operation.path);
  const bool isKnown = named != m_current.names.end();
  switch (operation.kind) {
    case FileOperation::Kind::Open:
      open(operation);
      break;
    case FileOperation::Kind::Write:
      write(operation);
      break;
    case FileOperation::Kind::Close:
      m_openFiles.erase(operation.fd);
      break;
    case FileOperation::Kind::Sync:
      m_synced = m_current;
      m_pending.clear();
      break;
    case FileOperation::Kind::SyncFile:
      syncFile(operation);
      break;
    case FileOperation::Kind::Rename:
      ASSERT_TRUE(isKnown) << operation.path;
      change({Change::Kind::Rename, named->second, operation.path, operation.newPath, 0, ""});
      break;
    case FileOperation::Kind::ChangeMode:
      ASSERT_TRUE(isKnown) << operation.path;
      change({Change::Kind::Mode, named->second, operation.path, "", 0, ""});
      break;
    case FileOperation::Kind::Remove:
      ASSERT_TRUE(isKnown) << operation.path;
      change({Change::Kind::NoName, named->second, operation.path, "", 0, ""});
      break;
    case FileOperation::Kind::MakeDirectory:
      m_synced.missingDirectories.insert(operation.path);
      m_current.missingDirectories.insert(operation.path);
      change({Change::Kind::Directory, 0, operation.path, "", 0, ""});
      break;
  }
}

std::set<Disk> DiskModel::statesAfterPowerLoss() const {
  EXPECT_LE(m_pending.size(), kMaxPending);
  std::set<Disk> disks;
  const size_t subsets = size_t{1} << std::min(m_pending.size(), kMaxPending);
  for (size_t subset = 0; subset < subsets; ++subset) {
    State state = m_synced;
    for (size_t i = 0; i < m_pending.size(); ++i) {
      if ((subset >> i & 1) != 0) {
        applyTo(state, m_pending[i]);
      }
    }
    disks.insert(diskOf(state));
  }
  return disks;
}

// What is opened for reading matters as well: a directory may be synced through it.
void DiskModel::open(const FileOperation& operation) {
  auto named = m_current.names.find(operation.path);
  if (named == m_current.names.end()) {
    if ((operation.flags & O_CREAT) == 0) {
      m_openFiles[operation.fd] = {m_nextFile++, 0, operation.path};
      return;
    }
    change({Change::Kind::Name, m_nextFile++, operation.path, "", 0, ""});
    named = m_current.names.find(operation.path);
  }
  m_openFiles[operation.fd] = {named->second, 0, ""};
  if ((operation.flags & O_TRUNC) != 0) {
    change({Change::Kind::Truncation, named->second, "", "", 0, ""});
  }
}

// A descriptor that has not been opened here, such as standard error, is none of the disk's.
void DiskModel::write(const FileOperation& operation) {
  const auto opened = m_openFiles.find(operation.fd);
  if (opened == m_openFiles.end()) {
    return;
  }
  OpenFile& file = opened->second;
  const size_t end = file.position + operation.data.size();
  change({Change::Kind::Size, file.file, "", "", std::max(end, m_current.files[file.file].size), ""});
  size_t taken = 0;
  while (file.position < end) {
    const size_t count = std::min(kBlockSize - file.position % kBlockSize, end - file.position);
    change({Change::Kind::Block, file.file, "", "", file.position, operation.data.substr(taken, count)});
    file.position += count;
    taken += count;
  }
}

// A file's data, size and mode, and not its name; a directory's names.
void DiskModel::syncFile(const FileOperation& operation) {
  const auto opened = m_openFiles.find(operation.fd);
  ASSERT_NE(m_openFiles.end(), opened);
  const OpenFile& file = opened->second;
  std::vector<Change> pending;
  for (const Change& change : m_pending) {
    const bool isName = !change.path.empty() && change.kind != Change::Kind::Mode;
    const bool isSynced = isName ? directoryOf(change.path) == file.directory : change.file == file.file;
    if (isSynced) {
      applyTo(m_synced, change);
    } else {
      pending.push_back(change);
    }
  }
  m_pending = pending;
}

void DiskModel::change(const Change& change) {
  applyTo(m_current, change);
  m_pending.push_back(change);
}

// A name refers to its file, whichever of the file's other changes have happened.
void DiskModel::applyTo(State& state, const Change& change) {
  File& file = state.files[change.file];
  switch (change.kind) {
    case Change::Kind::Name:
      state.names[change.path] = change.file;
      break;
    case Change::Kind::Rename:
      state.names[change.newPath] = change.file;
      state.names.erase(change.path);
      break;
    case Change::Kind::NoName:
      state.names.erase(change.path);
      break;
    case Change::Kind::Directory:
      state.missingDirectories.erase(change.path);
      break;
    case Change::Kind::Truncation:
      file = File();
      break;
    case Change::Kind::Size:
      file.size = change.offset;
      break;
    case Change::Kind::Block:
      file.bytes.resize(std::max(file.bytes.size(), change.offset + change.data.size()));
      file.bytes.replace(change.offset, change.data.size(), change.data);
      break;
    case Change::Kind::Mode:
      break;
  }
}

Disk DiskModel::diskOf(const State& state) {
  Disk disk;
  for (const auto& [path, id] : state.names) {
    if (state.missingDirectories.count(directoryOf(path)) != 0) {
      continue;
    }
    const auto file = state.files.find(id);
    std::string content = file == state.files.end() ? "" : file->second.bytes;
    content.resize(file == state.files.end() ? 0 : file->second.size);
    disk[path] = content;
  }
  return disk;
}

std::set<Disk> statesDuring(const Disk& before, const std::vector<FileOperation>& operations) {
  DiskModel model(before);
  std::set<Disk> all = model.statesAfterPowerLoss();
  for (const FileOperation& operation : operations) {
    model.apply(operation);
    all.merge(model.statesAfterPowerLoss());
  }
  return all;
}

std::set<Disk> statesAfter(const Disk& before, const std::vector<FileOperation>& operations) {
  DiskModel model(before);
  for (const FileOperation& operation : operations) {
    model.apply(operation);
  }
  return model.statesAfterPowerLoss();
}

std::set<std::string> contentsOf(const std::string& path, const std::set<Disk>& disks) {
  std::set<std::string> contents;
  for (const Disk& disk : disks) {
    const auto file = disk.find(path);
    contents.insert(file == disk.end() ? "" : file->second);
  }
  return contents;
}

}  // namespace KelpTest
