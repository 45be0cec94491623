// A receiver reuses a FIFO that is already there, with the messages that still lie in it, so a process first removes
// what a predecessor left behind when it crashed.
#ifndef KELP_EXAMPLES_COMMON_STALE_FIFO_H
#define KELP_EXAMPLES_COMMON_STALE_FIFO_H

#include <string>

namespace KelpExample {

// Whether some process has the FIFO open for reading.
bool isFifoRead(const std::string& path);

// Removes whatever stands at the path, unless it is a FIFO that somebody reads: then it belongs to a process that
// lives, and the result is false. So it is, and nothing is removed, where the directory is no directory, belongs to
// another user than this process's or root, or may be written to by everybody. True: the path is free. The directory
// is made where it is missing.
bool clearFifoPath(const std::string& path);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_COMMON_STALE_FIFO_H
