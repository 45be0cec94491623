// What an example program tells about its own doings: one line on standard error.
#ifndef KELP_EXAMPLES_COMMON_NOTE_H
#define KELP_EXAMPLES_COMMON_NOTE_H

namespace KelpExample {

// The line starts with the program's name and process id; a newline is added.
void note(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_COMMON_NOTE_H
