#include "FileOperator.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/Diagnostics.h"

namespace Kelp {

FileOperator::FileOperator(const std::string& path, bool fileRemovalOnObjectDeletion)
    : FdOperator(true), m_path(path), m_fileRemovalOnObjectDeletion(fileRemovalOnObjectDeletion) {
  setObjectType(ObjectType_FileOperator);
}

FileOperator::~FileOperator() {
  if (m_fileRemovalOnObjectDeletion && ::unlink(m_path.c_str()) == -1) {
    KELP_LOG_ERROR("###ERROR### unlink() returns error(errno=%d).\n", errno);
  }
}

const std::string& FileOperator::getPath() const {
  return m_path;
}

void FileOperator::setFileRemovalOnObjectDeletion(bool fileRemovalOnObjectDeletion) {
  m_fileRemovalOnObjectDeletion = fileRemovalOnObjectDeletion;
}

int FileOperator::open(int flags, mode_t mode) {
  KELP_ASSERT(!((flags & O_CREAT) && (mode == 0)), "!( (flags & 0100) && (mode == 0) )");
  setFd(::open(m_path.c_str(), flags | O_CLOEXEC, mode));
  if (getFd() == -1) {
    KELP_LOG_ERROR("###ERROR### open() returns error(errno=%d).\n", errno);
    return -1;
  }
  return 0;
}

long long FileOperator::size() const {
  struct stat status;
  if (::fstat(getFd(), &status) == -1 && ::stat(m_path.c_str(), &status) == -1) {
    KELP_LOG_ERROR("###ERROR### fstat() and stat() return error\n\n");
    return 0;
  }
  return static_cast<long long>(status.st_size);
}

}  // namespace Kelp
