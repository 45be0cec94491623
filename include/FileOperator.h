// A file named by its path: opens it, sizes it open or not, and can remove it at the end.
//
// Owns what it opens: the descriptor is closed when the object is destroyed. Threads: as FdOperator.
#ifndef KELP_FILE_FILE_OPERATOR_H
#define KELP_FILE_FILE_OPERATOR_H

#include <sys/types.h>

#include <string>

#include "FdOperator.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT FileOperator : public FdOperator {
 public:
  // `fileRemovalOnObjectDeletion`: the file is unlinked, while still open, when the object is destroyed, whether or not
  // the object ever opened it.
  FileOperator(const std::string& path, bool fileRemovalOnObjectDeletion);
  ~FileOperator() override;

  const std::string& getPath() const;
  void setFileRemovalOnObjectDeletion(bool fileRemovalOnObjectDeletion);

  // As the system call, and always close-on-exec. Nothing may be open yet: a descriptor from before would be lost.
  // Creating a file (O_CREAT) requires a `mode` other than 0. Returns 0, or -1 after an error line.
  int open(int flags, mode_t mode);

  // The size in bytes of the open file or, when there is none, of the file at the path; 0, after an error line, when
  // neither can be told.
  long long size() const override;

 private:
  const std::string m_path;
  bool m_fileRemovalOnObjectDeletion;
};

}  // namespace Kelp

#endif  // KELP_FILE_FILE_OPERATOR_H
