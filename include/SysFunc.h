// Memory blocks that change owner inside the platform, and file-system commands. A single file is handled by a system
// call, a directory with everything below it by a busybox command that a shell runs.
//
// Every failure is 15 (I/O error), so that callers treat all operations alike. Paths go into the command lines
// unquoted: only paths made by the platform itself may be given, without blanks or characters that the shell knows.
//
// Threads: all operations can be called on any thread. Commands block the caller until they have ended.
#ifndef KELP_FILE_SYS_FUNC_H
#define KELP_FILE_SYS_FUNC_H

#include <string>

#include "KelpExport.h"
#include "KelpReturnCode.h"

namespace Kelp {

class KELP_EXPORT SysFunc {
 public:
  // Blocks of `size` bytes as malloc and realloc give them, null when memory is out. Who owns the block releases it
  // with kelpFree().
  static void* kelpMalloc(unsigned int size);
  static void* kelpRealloc(void* pointer, unsigned int size);
  static void kelpFree(void* pointer);

  // The size of the file in bytes, or -1 when it cannot be told, for instance because nothing is there. Logs nothing.
  static long long kelpStat(std::string path);

  // Moves the file, replacing what is at `to`. Returns 0, or 15 after one error line.
  static CommonReturnCode_t kelpRename(std::string from, std::string to);

  // Runs `command` with busybox and waits for its end. The whole line, busybox's path and a blank included, is cut at
  // 255 characters. Returns 0 when the command ended with status 0, else 15 after one error line.
  static CommonReturnCode_t kelpExec(std::string command);

  // Removes a file, or a directory with everything in it. Returns 0, or 15, without a line when nothing is at the path.
  static CommonReturnCode_t kelpRm(const std::string& path);

  // Makes the directory, with those of its parents that are missing; one that exists stays as it is and is no error.
  // `mode` holds for the last one, whatever the umask says: the process's umask is 0 while the command runs. Files that
  // other threads create in that time are not masked. Returns 0 or 15.
  static CommonReturnCode_t kelpMkdir(const std::string& path, unsigned int mode);

  // Gives the file, or the directory with everything in it, to the user `owner`; the group stays. Returns 0 or 15.
  static CommonReturnCode_t kelpChown(const std::string& path, unsigned int owner);

  // Sets the mode of the file, or of the directory and everything in it. Returns 0 or 15.
  static CommonReturnCode_t kelpChmod(const std::string& path, unsigned int mode);
};

}  // namespace Kelp

#endif  // KELP_FILE_SYS_FUNC_H
