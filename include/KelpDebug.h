// Prepares and removes the platform's debug log files: for a component NAME, "/var/log/kelp/pf_NAME.log". Writing into
// them is the platform logger's business.
//
// Nothing is returned: a busybox command that fails leaves one error line and the next one runs all the same. The name
// goes into the command lines unquoted and they are cut at 255 characters: give at most 200 plain characters (letters,
// digits, '.', '-', '_').
//
// Threads: can be called on any thread, a worker's job included. The commands block the caller.
#ifndef KELP_FILE_KELP_DEBUG_H
#define KELP_FILE_KELP_DEBUG_H

#include "KelpExport.h"

#ifdef __cplusplus
extern "C" {
#endif

// Makes the log directory with mode 0755, where it is missing.
KELP_EXPORT void KelpDebugCreateLogDir();

// Makes the log directory and the component's log file where they are missing, and gives the file its owner and mode.
// `kind`: 0 for root.root and 644, 1 for root.kelpapp and 664, which the application group can write. With any other
// kind nothing is done, after one error line.
KELP_EXPORT void KelpDebugGenerateLogFile(const char* name, int kind);

// Removes the component's log files from the log directory and from the log backup directory, with the rotated ones,
// whatever follows ".log" in their names.
KELP_EXPORT void KelpDebugRemoveLogFile(const char* name);

#ifdef __cplusplus
}
#endif

#endif  // KELP_FILE_KELP_DEBUG_H
